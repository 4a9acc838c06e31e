#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Image.h"

namespace stowboard {

/// What every ImageCodec has to hold. A Harness has codec(), and picture(width, height), the bytes
/// of an image of that size in points.
template <typename Harness>
class ImageCodecContract : public ::testing::Test {
 protected:
  Harness harness_;
};

TYPED_TEST_SUITE_P(ImageCodecContract);

TYPED_TEST_P(ImageCodecContract, DecodesAnImageAndRefusesOtherBytes) {
  auto& codec = this->harness_.codec();
  const auto image = codec.decode(this->harness_.picture(640, 400));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->size(), (ImageSize{640, 400}));
  for (const char* other : {"", "no image", "\x89PNG", "GIF89a", "RIFF....WEBP"}) {
    EXPECT_FALSE(codec.decode(Bytes(other))) << other;
    EXPECT_FALSE(codec.decodeToFit(Bytes(other), 300)) << other;
  }
  EXPECT_FALSE(codec.decode(Bytes()));
}

TYPED_TEST_P(ImageCodecContract, GivesOneImageForOneBufferWhileItLives) {
  auto& codec = this->harness_.codec();
  const Bytes encoded = this->harness_.picture(640, 400);
  std::vector<std::shared_ptr<const Image>> images(4);
  std::vector<std::thread> threads;
  for (auto& image : images) threads.emplace_back([&] { image = codec.decode(encoded); });
  for (auto& thread : threads) thread.join();
  for (const auto& image : images) EXPECT_EQ(image, images.front());

  const Bytes otherBuffer{std::string(encoded.view())};
  EXPECT_NE(codec.decode(otherBuffer), images.front());
  const std::weak_ptr<const Image> gone = images.front();
  images.clear();
  EXPECT_TRUE(gone.expired());
  const auto fitted = codec.decodeToFit(encoded, 300);
  EXPECT_EQ(codec.decode(encoded), fitted);
}

TYPED_TEST_P(ImageCodecContract, DrawsInAnySizeWhateverItWasDecodedFor) {
  auto& codec = this->harness_.codec();
  const Bytes encoded = this->harness_.picture(640, 400);
  for (const auto& image : {codec.decode(encoded), codec.decodeToFit(Bytes(encoded), 300)}) {
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), (ImageSize{640, 400}));
    for (const auto& [width, height] :
         {std::pair{300, 187}, {1, 1}, {7, 900}, {640, 400}, {1280, 800}}) {
      const auto bitmap = image->draw(width, height);
      ASSERT_TRUE(bitmap);
      EXPECT_EQ(bitmap->width, width);
      EXPECT_EQ(bitmap->height, height);
      EXPECT_EQ(bitmap->pixels.size(), 4u * width * height);
    }
    EXPECT_FALSE(image->draw(300, 0));
    EXPECT_FALSE(image->draw(-1, 10));
  }
}

TYPED_TEST_P(ImageCodecContract, EncodesADrawingButNotAnEmptyOne) {
  auto& codec = this->harness_.codec();
  const auto bitmap = codec.decode(this->harness_.picture(64, 40))->draw(64, 40);
  const auto jpeg = codec.encodeJpeg(*bitmap, 0.7);
  ASSERT_TRUE(jpeg);
  EXPECT_FALSE(jpeg->empty());
  EXPECT_FALSE(codec.encodeJpeg(RgbaBitmap{}, 0.7));
}

REGISTER_TYPED_TEST_SUITE_P(ImageCodecContract, DecodesAnImageAndRefusesOtherBytes,
                            GivesOneImageForOneBufferWhileItLives,
                            DrawsInAnySizeWhateverItWasDecodedFor, EncodesADrawingButNotAnEmptyOne);

}  // namespace stowboard
