#pragma once

#include "Models/AppSettings.h"
#include "Platform/Bundle.h"
#include "Platform/FileOpener.h"

namespace stowboard {

/// The user guide as a file that the desktop shows. Main thread.
struct HelpDocument {
  HelpDocument() = delete;

  /// Writes the guide for these settings afresh, readable by the user only, and has the desktop
  /// open it. It goes into $TMPDIR, or where that is no absolute path into a private folder in
  /// $XDG_RUNTIME_DIR, $XDG_CACHE_HOME or among the user's data. Waits for a disk only to make that
  /// folder. A file that cannot be written is logged and not opened.
  static void open(const AppSettings& settings, const Bundle& bundle, FileOpener& opener);
};

}  // namespace stowboard
