#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Base/Bytes.h"
#include "Base/Unicode/Text.h"
#include "Platform/Image.h"

namespace stowboard {

/// What a snapshot stands for.
enum class ClipboardNews {
  /// What a program copied, or gave when it was asked once more.
  content,
  /// A copy whose owner cannot be asked once more.
  outOfReach,
  /// A program has emptied the clipboard on purpose.
  cleared,
};

/// One content of the clipboard, ready to be read without waiting. Immutable once it is shared with
/// another thread.
struct ClipboardSnapshot {
  ClipboardNews news = ClipboardNews::content;
  /// Which of the other programs' copies it is, in their order; 0 for none.
  std::uint64_t copyNumber = 0;
  /// Everything that its owner was asked for has come.
  bool isWhole = false;
  /// See Pasteboard::sources().
  std::optional<std::vector<std::string>> sources;
  std::optional<std::vector<std::string>> types;
  std::optional<Bytes> tiff;
  std::optional<Bytes> png;
  std::optional<Bytes> richText;
  std::optional<Text> text;
  /// Kept so that decoding the same bytes again is free; see ImageCodec::decode().
  std::shared_ptr<const Image> image;
  /// Content to be offered under exactly these names, besides what follows from the fields above.
  std::vector<std::pair<std::string, Bytes>> named;
};

/// Takes a snapshot of a copy, with the number of the last of our own writes that it came after.
using SnapshotReceiver =
    std::function<void(std::shared_ptr<const ClipboardSnapshot>, std::uint64_t)>;

/// Runs `work` on another thread and then `finish` on the caller's own, in the order of the calls.
/// Neither runs once the caller's thread has ended.
using Background = std::function<void(std::function<void()> work, std::function<void()> finish)>;

}  // namespace stowboard
