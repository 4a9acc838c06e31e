#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Image.h"

namespace stowboard {

/// Pictures of one colour, without their pixels.
class FakeImage final : public Image {
 public:
  FakeImage(Bytes encoded, ImageSize size) : encoded_(std::move(encoded)), size_(size) {}

  ImageSize size() const override { return size_; }

  std::optional<RgbaBitmap> draw(int width, int height) const override {
    if (width < 1 || height < 1) return std::nullopt;
    return RgbaBitmap{width, height, std::vector<std::uint8_t>(4ull * width * height, 0xff)};
  }

  std::vector<std::string> representationTypes() const override {
    return {"image/png", "image/tiff", "image/jpeg", "image/bmp"};
  }

  std::optional<Bytes> representation(std::string_view type) const override {
    if (!std::ranges::count(representationTypes(), type)) return std::nullopt;
    return Bytes(fmt::format("{} {}x{}", type, size_.width, size_.height));
  }

  const Bytes& encoded() const { return encoded_; }

 private:
  const Bytes encoded_;
  const ImageSize size_;
};

/// Knows one format: "image WIDTHxHEIGHT", in points; and writes "jpeg WIDTHxHEIGHT quality Q".
class FakeImageCodec final : public ImageCodec {
 public:
  static Bytes encoded(double width, double height) {
    return Bytes(fmt::format("image {}x{}", width, height));
  }

  std::shared_ptr<const Image> decode(const Bytes& encoded) override {
    const std::lock_guard lock(mutex_);
    std::erase_if(alive_, [](const auto& each) { return each.expired(); });
    for (const auto& each : alive_) {
      const auto image = each.lock();
      if (image && image->encoded().sharesStorageWith(encoded)) return image;
    }
    ImageSize size;
    const std::string text(encoded.view());
    if (std::sscanf(text.c_str(), "image %lfx%lf", &size.width, &size.height) != 2) return nullptr;
    const auto image = std::make_shared<const FakeImage>(encoded, size);
    alive_.push_back(image);
    ++decodings_;
    return image;
  }

  std::shared_ptr<const Image> decodeToFit(const Bytes& encoded, int) override {
    return decode(encoded);
  }

  std::optional<Bytes> encodeJpeg(const RgbaBitmap& bitmap, double quality) override {
    if (bitmap.pixels.empty() || encoderFails) return std::nullopt;
    return Bytes(fmt::format("jpeg {}x{} quality {}", bitmap.width, bitmap.height, quality));
  }

  /// How often an image was really decoded.
  int decodings() const {
    const std::lock_guard lock(mutex_);
    return decodings_;
  }

  bool encoderFails = false;

 private:
  mutable std::mutex mutex_;
  std::vector<std::weak_ptr<const FakeImage>> alive_;
  int decodings_ = 0;
};

}  // namespace stowboard
