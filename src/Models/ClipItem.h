#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "Base/Bytes.h"
#include "Base/Timestamp.h"
#include "Base/Unicode/Text.h"
#include "Base/Uuid.h"

namespace stowboard {

/// The kind of a clip.
enum class ClipType { text, rtf, image };

/// The word that stands for the kind in the history file.
std::string_view rawValue(ClipType type);
std::optional<ClipType> clipTypeFromRawValue(std::string_view raw);

/// One entry of the clipboard history. An immutable value; copies share the content, so a list of
/// clips is copied without copying a payload. Safe to read from any thread.
class ClipItem {
 public:
  ClipItem(Uuid id, ClipType type, std::optional<Text> textContent, std::optional<Bytes> rtfData,
           std::optional<Bytes> imageData, Timestamp timestamp);

  /// Identity of the entry, new at capture.
  const Uuid& id() const { return content_->id; }
  ClipType type() const { return content_->type; }
  /// The text; for a rich-text clip the plain form that came with it, if one did.
  const std::optional<Text>& textContent() const { return content_->textContent; }
  /// The RTF document of a rich-text clip.
  const std::optional<Bytes>& rtfData() const { return content_->rtfData; }
  /// The JPEG thumbnail of an image clip, at most 300 pixels on its longer side.
  const std::optional<Bytes>& imageData() const { return content_->imageData; }
  /// Moment of capture.
  Timestamp timestamp() const { return content_->timestamp; }

  /// Whether both carry the same kind and content, whatever their identity and time. Texts compare
  /// by canonical equivalence, data byte by byte.
  bool hasSameContent(const ClipItem& other) const;

  /// One-line label: "[Image]" for images, else the text's first 60 user-perceived characters,
  /// unchanged. Valid as long as the clip lives.
  std::string_view previewText() const;

  /// All six fields, id and timestamp included.
  friend bool operator==(const ClipItem& left, const ClipItem& right);

 private:
  struct Content {
    Uuid id;
    ClipType type;
    std::optional<Text> textContent;
    std::optional<Bytes> rtfData;
    std::optional<Bytes> imageData;
    Timestamp timestamp;
  };
  std::shared_ptr<const Content> content_;
};

}  // namespace stowboard
