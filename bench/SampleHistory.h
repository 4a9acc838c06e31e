#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "Models/ClipItem.h"

namespace stowboard::bench {

/// Clips that look like a heavy user's: of ten, four hold program text (line breaks, quotes,
/// backslashes), two Chinese prose, two RTF with its plain form, two the bytes of an image.
class SampleHistory {
 public:
  static std::vector<ClipItem> make(std::size_t count, std::size_t bytesPerClip) {
    SampleHistory maker(bytesPerClip);
    std::vector<ClipItem> clips;
    for (std::size_t index = 0; index < count; ++index) clips.push_back(maker.clip(index));
    return clips;
  }

 private:
  explicit SampleHistory(std::size_t bytesPerClip) : size_(bytesPerClip) {}

  std::size_t below(std::size_t bound) { return random_() % bound; }

  std::string code(std::size_t size) {
    static const std::vector<std::string> words{
        "the",  "quick",      "const",   "auto",  "return", "std::vector<int>",
        "over", "\"a name\"", "C:\\dir", "value", "state",  "=",
        "{",    "};",         "if",      "// why"};
    std::string text;
    while (text.size() < size) {
      text.append(below(4) * 2, ' ');
      for (std::size_t word = 4 + below(8); word > 0; --word)
        text += words[below(words.size())] + ' ';
      text += '\n';
    }
    text.resize(size);
    return text;
  }

  std::string prose(std::size_t size) {
    static const std::string characters =
        "我们在这里复制一段文字用来测试剪贴板历史记录的读写速度，。";
    std::string text;
    while (text.size() + 3 <= size) text += characters.substr(below(characters.size() / 3) * 3, 3);
    return text;
  }

  std::string noise(std::size_t size) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random_());
    return bytes;
  }

  ClipItem clip(std::size_t index) {
    const Timestamp time{785548800.123456 - static_cast<double>(index) * 3.7};
    const auto make = [&](ClipType type, std::optional<Text> text, std::optional<Bytes> rtf,
                          std::optional<Bytes> image) {
      return ClipItem(Uuid::random(), type, std::move(text), std::move(rtf), std::move(image),
                      time);
    };
    switch (index % 10) {
      case 0:
      case 1:
        return make(ClipType::text, Text(prose(size_)), {}, {});
      case 2:
      case 3:
        return make(ClipType::rtf, Text(code(size_ / 5)), Bytes(code(size_ / 5 * 4)), {});
      case 4:
      case 5:
        return make(ClipType::image, {}, {}, Bytes(noise(size_)));
      default:
        return make(ClipType::text, Text(code(size_)), {}, {});
    }
  }

  std::size_t size_;
  std::mt19937 random_{1};
};

}  // namespace stowboard::bench
