// The command queue and the frames of a drawing layer, byte by byte.
#include "src/compositing/layer.h"

#include <functional>
#include <memory>
#include <string>
#include <tuple>

#include <gmock/gmock.h>

#include "src/compositing/drawing_objects.h"
#include "tests/support/fake_service.h"

namespace {

using namespace Compositing;

constexpr std::int64_t MARKER = 0x55AA55AA;
constexpr int LAYER_ID = 3;
constexpr std::int64_t HALF = 0x3F000000, ONE = 0x3F800000, TWO = 0x40000000, MINUS_TWO = 0xC0000000;

bytes_t Record(std::int64_t command, std::int64_t first, std::int64_t second, const bytes_t& data = {}) {
  const auto rounded = static_cast<std::int64_t>((data.size() + 3) / 4 * 4);
  return Words({MARKER, 0, command, first, LAYER_ID, second, rounded}) + data;
}

bytes_t StartOfFrame() {
  return Record(4, 12, 0, Words({0, 1}));
}

bytes_t Queued(const Layer& layer) {
  return {layer.Queued().begin(), layer.Queued().end()};
}

class LayerTest : public testing::Test {
 protected:
  RuntimeDirectoryForTest directory_;
};

TEST_F(LayerTest, EachOperationIsOneRecord) {
  Layer layer(LAYER_ID, LAYER_USER);
  layer.setToCurrentLayer();
  CompGraphArc arc(2.0F, 0.5F, 1.0F);
  CompGraphCircle circle(2.0F);
  CompGraphImage image("/a.png");
  CompGraphLine line(1.0F, 2.0F, 0.5F, 1.0F, 2.0F, 1);
  const Color4 red{1.0F, 0.5F, 2.0F, -2.0F}, dark{0.5F, 1.0F, -2.0F, 2.0F};
  const bytes_t colors = Words({ONE, HALF, TWO, MINUS_TWO, HALF, ONE, MINUS_TWO, TWO});
  const VideoInfo_t video{10, 20, 320, 240, -1};
  const std::tuple<const char*, std::function<void()>, bytes_t> cases[] = {
      {"pushAndTranslate", [&] { layer.glPushAndTranslate(1.0F, 0.5F, -2.0F); },
       Record(4, 1, 0, Words({ONE, HALF, MINUS_TWO}))},
      {"push", [&] { layer.glPush(); }, Record(4, 2, 0)},
      {"pop", [&] { layer.glPop(); }, Record(4, 3, 0)},
      {"rotate", [&] { layer.glRotate(2.0F, 0.0F, 0.5F, 1.0F); }, Record(4, 5, 0, Words({TWO, 0, HALF, ONE}))},
      {"scale", [&] { layer.glScale(1.0F, 2.0F, 0.5F); }, Record(4, 6, 0, Words({ONE, TWO, HALF}))},
      {"setColor", [&] { layer.setColor(1.0F, 0.5F, 0.5F, 2.0F); },
       Record(4, 7, 0, Words({ONE, HALF, HALF, TWO}))},
      {"clearTexture", [&] { layer.clearTexture(); }, Record(4, 9, 0)},
      {"enable", [&] { layer.enable(-5); }, Record(4, 10, 0, Words({-5}))},
      {"disable", [&] { layer.disable(5); }, Record(4, 11, 0, Words({5}))},
      {"preloadImages", [&] { layer.preloadImages("a b"); },
       Record(4, 13, 0, Characters(std::string("a b\0", 4)))},
      {"drawText", [&] { layer.drawText(); }, Record(4, 14, 0)},
      {"capture", [&] { layer.capture("f.png"); }, Record(7, 0, 0, Characters(std::string("f.png\0", 6)))},
      {"video", [&] { layer.video(&video); }, Record(8, 0, 0, Words({10, 20, 320, 240, -1})) + Record(9, 0, 0)},
      {"arc.outline", [&] { arc.outline(); }, Record(5, 1, 0, Words({TWO, HALF, ONE}))},
      {"arc.fill", [&] { arc.fill(); }, Record(5, 2, 0, Words({TWO, HALF, ONE}))},
      {"arc.fillGradient", [&] { arc.fillGradient(red, dark); },
       Record(5, 3, 0, Words({TWO, HALF, ONE}) + colors)},
      {"circle.outline", [&] { circle.outline(); }, Record(5, 4, 0, Words({TWO}))},
      {"circle.fill", [&] { circle.fill(); }, Record(5, 5, 0, Words({TWO}))},
      {"circle.fillGradient", [&] { circle.fillGradient(red, dark); }, Record(5, 6, 0, Words({TWO}) + colors)},
      {"line.draw", [&] { line.draw(); }, Record(5, 7, 0, Words({ONE, TWO, HALF, ONE, TWO, ONE}))},
      {"image.DrawTexture", [&] { image.DrawTexture(0, 0); },
       Record(6, 1, 3, Words({0, 0}) + Characters(std::string("/a.png\0", 7)))},
      {"image.DrawTextureCentered", [&] { image.DrawTextureCentered(64, 48); },
       Record(6, 2, 3, Words({64, 48}) + Characters(std::string("/a.png\0", 7)))},
  };
  for (const auto& [name, call, records] : cases) {
    SCOPED_TRACE(name);
    layer.draw(DRAW_APPEND, false);
    call();
    EXPECT_EQ(Queued(layer), records);
  }
}

TEST_F(LayerTest, ARecordStartsAtTheNextWord) {
  Layer layer(LAYER_ID, LAYER_USER);
  const bytes_t data{1, 2, 3, 4, 5};
  layer.addCommandWithParameters(CMD_SHAPE, 1, 2, 5, data.data(), nullptr);
  EXPECT_EQ(Queued(layer), Words({MARKER, 0, 5, 1, LAYER_ID, 2, 8}) + data);
  const std::vector<std::string> strings{"ab", ""};
  layer.addCommandWithParameters(CMD_SHAPE, 1, 2, 1, data.data(), &strings);
  EXPECT_EQ(Queued(layer), Words({MARKER, 0, 5, 1, LAYER_ID, 2, 8}) + data + bytes_t(3, 0) +
                               Words({MARKER, 0, 5, 1, LAYER_ID, 2, 8}) + (bytes_t{1, 'a', 'b', 0, 0}));
}

// Queues one record so that exactly `used` bytes are in use.
void Fill(Layer& layer, std::size_t used) {
  layer.draw(DRAW_APPEND, false);
  const bytes_t filling(used, 0xEE);
  layer.addParameters(filling.data(), static_cast<int>(used));
}

TEST_F(LayerTest, AFullQueueTakesDataButNoHeader) {
  // 1,048,576 is the queue's size, 28 a header's.
  const std::tuple<std::size_t, std::size_t, bool, bool, bool> cases[] = {
      {600'000, 224'260, true, false, true},  // 600,000 + 2 x 224,288 is exactly the size
      {600'000, 224'261, false, true, true},
      {600'000, 448'548, false, true, true},  // 600,000 + 28 + 448,548 is exactly the size
      {600'000, 448'549, false, false, true},
      {600'000, 448'576, false, false, true},  // the data alone fills the queue
      {600'000, 448'577, false, false, false},
      {1'048'575, 0, false, false, false},
      {0, 2'000'000, false, false, false},
  };
  Layer layer(LAYER_ID, LAYER_USER);
  const bytes_t data(2'000'000, 0x11);
  for (const auto& [used, length, header, warning, fits] : cases) {
    SCOPED_TRACE(std::to_string(used) + " used, " + std::to_string(length) + " more");
    Fill(layer, used);
    testing::internal::CaptureStdout();
    layer.addCommandWithParameters(CMD_SHAPE, 0, 0, static_cast<int>(length), data.data(), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), warning ? "LayerClient: command queue full\n" : "");
    const std::size_t start = (used + 3) / 4 * 4;
    const bytes_t queued = Queued(layer);
    ASSERT_EQ(queued.size(), start + (header ? 28 : 0) + (fits ? length : 0));
    if (fits) {
      EXPECT_EQ(queued[start], header ? 0xAA : 0x11);
    }
  }
}

TEST_F(LayerTest, AStringThatDoesNotFitWithItsEndIsDropped) {
  Layer layer(LAYER_ID, LAYER_USER);
  Fill(layer, QUEUE_SIZE - 4);
  const std::vector<std::string> strings{"abcd", "xyz", "w"};
  layer.addCommandWithParameters(CMD_SHAPE, 0, 0, 0, nullptr, &strings);
  const bytes_t queued = Queued(layer);
  ASSERT_EQ(queued.size(), QUEUE_SIZE);
  EXPECT_EQ(bytes_t(queued.end() - 4, queued.end()), (bytes_t{'x', 'y', 'z', 0}));
}

TEST_F(LayerTest, AFrameIsOneMessageAndTheNextFrameIsBegun) {
  FakeService compositor(SERVER_NAME, [](const bytes_t&) { return Words({0}); });
  testing::internal::CaptureStdout();
  {
    Layer layer(LAYER_ID, LAYER_VIDEO);
    EXPECT_TRUE(layer.isConnected());
    EXPECT_EQ(compositor.DrainRequests().at(0), Record(1, LAYER_VIDEO, 0));
    layer.glPush();
    layer.draw();
    EXPECT_EQ(compositor.DrainRequests().at(0), Record(4, 2, 0) + Record(9, 0, 0));
    EXPECT_EQ(Queued(layer), StartOfFrame());
    Fill(layer, 500'000);
    layer.draw(DRAW_APPEND, false);
    EXPECT_EQ(compositor.DrainRequests().at(1).size(), 500'000U);
    EXPECT_TRUE(Queued(layer).empty());
  }
  EXPECT_EQ(compositor.DrainRequests().at(0), Record(2, 0, 0));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "compGraphLib: Layer 3 Destroy begin.\ncompGraphLib: Layer 3 Destroy completed.\n");
}

TEST_F(LayerTest, ObjectsBelongToTheCurrentLayerUntilItEnds) {
  testing::internal::CaptureStdout();
  auto first = std::make_unique<Layer>(1, LAYER_USER);
  first->setToCurrentLayer();
  CompGraphCircle attached(1.0F);
  EXPECT_TRUE(attached.IsAttached());
  first.reset();
  EXPECT_FALSE(attached.IsAttached());
  attached.fill();
  const CompGraphArc arc(1.0F, 0.0F, 90.0F);
  const CompGraphCircle circle(1.0F);
  CompGraphImage image("a.png");
  CompGraphLine line(0.0F, 0.0F, 1.0F, 1.0F, 1.0F, 0);
  image.DrawTexture(1, 1);
  line.draw();
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::EndsWith("CompGraphArc: No current layer - object not added\n"
                                "CompGraphCircle: No current layer - object not added\n"
                                "CompGraphImage: No current layer - object not added\n"
                                "CompGraphLine: No current layer - object not added\n"));
}

}  // namespace
