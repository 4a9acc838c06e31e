#pragma once

namespace stowboard {

/// Follows the clipboard. Main thread.
class ClipboardMonitoring {
 public:
  virtual ~ClipboardMonitoring() = default;

  /// Begins to record; does nothing when it already has. What is on the clipboard now is not
  /// recorded.
  virtual void start() = 0;
  /// Ends recording; start() begins it again.
  virtual void stop() = 0;
  /// To be called right after the program itself wrote to the pasteboard: that change is not
  /// recorded.
  virtual void markSelfWrite() = 0;
};

}  // namespace stowboard
