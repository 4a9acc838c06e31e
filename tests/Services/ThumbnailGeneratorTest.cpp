#include "Services/ThumbnailGenerator.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "fakes/FakeImageCodec.h"

namespace stowboard {
namespace {

struct ThumbnailCase {
  ImageSize source;
  const char* thumbnail;  // empty: none
};

TEST(ThumbnailGenerator, FitsAnImageIntoItsSquareAndEncodesIt) {
  const ThumbnailCase cases[] = {
      {{1440, 900}, "jpeg 300x187 quality 0.7"},
      {{900, 1440}, "jpeg 187x300 quality 0.7"},
      {{3000, 3000}, "jpeg 300x300 quality 0.7"},
      {{200, 120}, "jpeg 200x120 quality 0.7"},
      // 562 × (300 / 562) is just below 300.
      {{562, 100}, "jpeg 299x53 quality 0.7"},
      {{200.5, 99.9}, "jpeg 200x99 quality 0.7"},
      {{1000, 2}, ""},
      {{2, 1000}, ""},
      {{0.9, 50}, ""},
      {{0, 100}, ""},
      {{100, -1}, ""},
      {{std::numeric_limits<double>::quiet_NaN(), 5}, ""},
  };
  FakeImageCodec codec;
  const ThumbnailGenerator generator(codec);
  for (const auto& each : cases) {
    const auto jpeg = generator.thumbnailData(FakeImage(Bytes(), each.source));
    EXPECT_EQ(jpeg ? jpeg->view() : "", each.thumbnail)
        << each.source.width << " x " << each.source.height;
  }
}

TEST(ThumbnailGenerator, GivesNothingWhenTheEncoderFails) {
  FakeImageCodec codec;
  codec.encoderFails = true;
  EXPECT_FALSE(ThumbnailGenerator(codec).thumbnailData(FakeImage(Bytes(), {640, 480})));
}

}  // namespace
}  // namespace stowboard
