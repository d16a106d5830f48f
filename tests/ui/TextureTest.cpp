#include <algorithm>

#include <gtest/gtest.h>

#include "platform/linux/ui/PictureTexture.h"
#include "tests/ui/support/TestWindows.h"

namespace {

using namespace platform_linux;  // NOLINT(google-build-using-namespace)
using namespace ui_test;         // NOLINT(google-build-using-namespace)

class TextureTest : public testing::Test {
 protected:
  static constexpr picture::PixelSize kSize{16, 8};

  std::unique_ptr<Texture> texture(std::uint8_t level) {
    auto pixels = pool_->take(4 * 16 * 8);
    std::fill(pixels->begin(), pixels->end(), level);
    memory_ = pixels->data();
    return std::make_unique<Texture>(picture::DecodedPicture{kSize, std::move(pixels)}, pool_);
  }

  static GskRenderNode* drawingOf(const Texture& texture) {
    GtkSnapshot* const snapshot = gtk_snapshot_new();
    const graphene_rect_t area{{0, 0}, {kSize.width, kSize.height}};
    texture.append(snapshot, area);
    return gtk_snapshot_free_to_node(snapshot);
  }

  static int levelShownBy(GskRenderNode* drawing) {
    cairo_surface_t* const shown = cairo_image_surface_create(CAIRO_FORMAT_RGB24, kSize.width, kSize.height);
    cairo_t* const context = cairo_create(shown);
    gsk_render_node_draw(drawing, context);
    cairo_destroy(context);
    cairo_surface_flush(shown);
    const int level = cairo_image_surface_get_data(shown)[0];
    cairo_surface_destroy(shown);
    return level;
  }

  TestUserInterface ui_;
  std::shared_ptr<picture::PixelBufferPool> pool_ = std::make_shared<picture::PixelBufferPool>();
  const std::uint8_t* memory_ = nullptr;
};

TEST_F(TextureTest, GoesBeforeItsDrawingWhichStillShowsIt) {
  auto drawn = texture(200);
  GskRenderNode* const drawing = drawingOf(*drawn);
  const std::uint8_t* const memory = memory_;
  drawn.reset();
  auto next = texture(90);
  EXPECT_NE(memory_, memory) << "the drawing has it";
  EXPECT_EQ(levelShownBy(drawing), 200);
  gsk_render_node_unref(drawing);
}

TEST_F(TextureTest, GivesItsPixelsBackOnceNoDrawingShowsThem) {
  auto drawn = texture(200);
  GskRenderNode* const drawing = drawingOf(*drawn);
  const std::uint8_t* const memory = memory_;
  EXPECT_EQ(levelShownBy(drawing), 200);
  gsk_render_node_unref(drawing);
  drawn.reset();
  auto next = texture(90);
  EXPECT_EQ(memory_, memory);
}

}  // namespace
