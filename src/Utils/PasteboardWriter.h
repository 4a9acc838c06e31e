#pragma once

#include "Models/ClipItem.h"
#include "Platform/Image.h"
#include "Platform/Pasteboard.h"

namespace stowboard {

/// Puts a clip back on the pasteboard.
struct PasteboardWriter {
  PasteboardWriter() = delete;

  /// Replaces whatever the pasteboard held. A clip whose payload is missing or cannot be decoded
  /// leaves it empty; a text clip always leaves a string. The caller tells the clipboard monitor of
  /// the write. Main thread.
  static void write(const ClipItem& clip, Pasteboard& pasteboard, ImageCodec& codec);
};

}  // namespace stowboard
