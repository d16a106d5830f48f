// The promises of the application's texts, kept by those read from catalogs and by the fake alike.
#include "platform/linux/application/Bundle.h"
#include "tests/application/CatalogFile.h"
#include "tests/application/ProbeFixture.h"
#include "tests/contract/NSBundleContract.h"
#include "tests/fakes/FakeFoundation.h"
#include "tests/support/TemporaryFolder.h"

namespace contract {

namespace {

std::shared_ptr<platform::NSBundle> makeReal(const BundleTables& tables) {
  struct Made {
    test_support::TemporaryFolder folder;
    platform_linux::Bundle bundle{"com.verrano.quillo.CameraShot", "main", folder.path(), {"de"}};
  };
  const auto made = std::make_shared<Made>();
  for (const auto& [table, translations] : tables) {
    // As in every compiled catalog, the empty key's text is about the catalog.
    application_tests::CatalogTexts texts{{"", "Content-Type: text/plain; charset=UTF-8\n"}};
    texts.insert(texts.end(), translations.begin(), translations.end());
    application_tests::installCatalog(made->folder.path(), "de", table.empty() ? "main" : table, texts);
  }
  return {made, &made->bundle};
}

std::shared_ptr<platform::NSBundle> makeFake(const BundleTables& tables) {
  auto bundle = std::make_shared<fakes::FakeBundle>();
  for (const auto& [table, translations] : tables)
    (table.empty() ? bundle->translations : bundle->otherTables[table]) = translations;
  return bundle;
}

INSTANTIATE_TEST_SUITE_P(Linux, NSBundleContract, testing::Values(&makeReal));
INSTANTIATE_TEST_SUITE_P(Fake, NSBundleContract, testing::Values(&makeFake));

}  // namespace

}  // namespace contract
