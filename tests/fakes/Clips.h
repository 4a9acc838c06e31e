#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Models/ClipItem.h"

namespace stowboard {

inline ClipItem textClip(std::string text) {
  return {Uuid::random(), ClipType::text, Text(std::move(text)),
          std::nullopt,   std::nullopt,   Timestamp::now()};
}

inline ClipItem richTextClip(std::string text, std::string rtf) {
  return {Uuid::random(),        ClipType::rtf, Text(std::move(text)),
          Bytes(std::move(rtf)), std::nullopt,  Timestamp::now()};
}

inline ClipItem imageClip(std::string jpeg) {
  return {Uuid::random(), ClipType::image,        std::nullopt,
          std::nullopt,   Bytes(std::move(jpeg)), Timestamp::now()};
}

inline std::vector<ClipItem> textClips(const std::vector<std::string>& texts) {
  std::vector<ClipItem> clips;
  for (const std::string& text : texts) clips.push_back(textClip(text));
  return clips;
}

/// The texts of the clips, in order; "[Image]" for images.
inline std::vector<std::string> previews(const std::vector<ClipItem>& clips) {
  std::vector<std::string> texts;
  for (const ClipItem& clip : clips) texts.emplace_back(clip.previewText());
  return texts;
}

}  // namespace stowboard
