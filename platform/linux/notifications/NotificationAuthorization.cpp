#include "platform/linux/notifications/NotificationAuthorization.h"

#include <cerrno>
#include <memory>
#include <set>
#include <utility>

#include "platform/linux/bus/BusNames.h"

namespace platform_linux {
namespace {

using Completion = std::function<void(bool, const std::optional<platform::NSError>&)>;

/// The question on its way through the bus's lists of names.
struct Question {
  std::string applicationId;
  Completion completion;
  std::set<std::string> names;
  bool busAnswered = false;
};

void addNames(Question& question, GVariant* reply) {
  if (!hasType(reply, "(as)")) return;
  question.busAnswered = true;
  GVariantIter* iterator = nullptr;
  g_variant_get(reply, "(as)", &iterator);
  const GVariantIterHandle owned(iterator);
  const char* name = nullptr;
  while (g_variant_iter_next(iterator, "&s", &name))
    question.names.insert(name);
}

void answer(const Question& question) {
  if (!question.busAnswered) {
    question.completion(false, platform::NSError{ENOTCONN, "The session bus does not answer"});
    return;
  }
  const bool behindHelper = question.names.contains(notificationHelperName(question.applicationId)) &&
                            question.names.contains(kDesktopNotifications);
  question.completion(behindHelper || question.names.contains(kShellNotifications), std::nullopt);
}

/// Never inline, although a call without a bus fails on the spot.
void answerWithoutBus(Completion completion) {
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer data) noexcept -> gboolean {
        (*static_cast<Completion*>(data))(false, platform::NSError{ENOTCONN, "There is no session bus"});
        return G_SOURCE_REMOVE;
      },
      std::make_unique<Completion>(std::move(completion)).release(),
      [](gpointer data) noexcept { delete static_cast<Completion*>(data); });
}

}  // namespace

void findNotificationService(const SessionBus& bus, const std::string& applicationId, Completion completion) {
  if (!bus.connection()) {
    answerWithoutBus(std::move(completion));
    return;
  }
  const auto question = std::make_shared<Question>(Question{applicationId, std::move(completion), {}});
  // The replies come in the order of the calls.
  bus.call(SessionBus::toBus("ListNames", g_variant_new("()")),
           [question](GVariant* reply, const GError*) { addNames(*question, reply); });
  bus.call(SessionBus::toBus("ListActivatableNames", g_variant_new("()")),
           [question](GVariant* reply, const GError*) {
             addNames(*question, reply);
             answer(*question);
           });
}

}  // namespace platform_linux
