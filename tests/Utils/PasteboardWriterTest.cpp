#include "Utils/PasteboardWriter.h"

#include <gmock/gmock.h>

#include "fakes/FakeImageCodec.h"
#include "fakes/FakePasteboard.h"

namespace stowboard {
namespace {

ClipItem clip(ClipType type, std::optional<Text> text, std::optional<Bytes> rtf,
              std::optional<Bytes> image) {
  return {Uuid::random(),  type, std::move(text), std::move(rtf), std::move(image),
          Timestamp::now()};
}

TEST(PasteboardWriterTest, LeavesExactlyWhatTheClipHolds) {
  const Text text("é");
  const Bytes rtf("{\\rtf1 \xe9}");
  const Bytes picture = FakeImageCodec::encoded(4, 3);
  using Types = std::vector<std::string>;
  const Types imageTypes{"image/tiff", "image/png", "image/jpeg", "image/bmp"};
  const struct {
    const char* name;
    ClipItem clip;
    Types types;
  } rows[] = {
      {"a text", clip(ClipType::text, text, {}, {}), {"text/plain"}},
      {"a text clip without text", clip(ClipType::text, {}, {}, {}), {"text/plain"}},
      {"rich text", clip(ClipType::rtf, text, rtf, {}), {"text/plain", "text/rtf"}},
      {"rich text alone", clip(ClipType::rtf, {}, rtf, {}), {"text/rtf"}},
      {"a rich text clip with its text only", clip(ClipType::rtf, text, {}, {}), {"text/plain"}},
      {"a rich text clip with neither", clip(ClipType::rtf, {}, {}, {}), {}},
      {"an image", clip(ClipType::image, {}, {}, picture), imageTypes},
      {"an image clip without image", clip(ClipType::image, text, {}, {}), {}},
      {"an image that is none", clip(ClipType::image, {}, {}, Bytes("damaged")), {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    FakePasteboard pasteboard;
    FakeImageCodec codec;
    pasteboard.copy({{"text/html", "another program's"}});
    const auto count = pasteboard.changeCount();
    PasteboardWriter::write(row.clip, pasteboard, codec);
    EXPECT_THAT(*pasteboard.types(), testing::UnorderedElementsAreArray(row.types));
    EXPECT_GT(pasteboard.changeCount(), count);
    if (testing::Matches(testing::Contains("text/plain"))(row.types)) {
      EXPECT_EQ(pasteboard.string(PasteboardType::string), row.clip.textContent().value_or(Text()));
    }
    EXPECT_EQ(pasteboard.data(PasteboardType::rtf), row.clip.rtfData());
  }
}

}  // namespace
}  // namespace stowboard
