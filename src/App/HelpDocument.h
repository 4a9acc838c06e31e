#pragma once

#include "Models/AppSettings.h"
#include "Platform/Bundle.h"
#include "Platform/FileOpener.h"

namespace stowboard {

/// The user guide as a file that the desktop shows. Main thread.
struct HelpDocument {
  HelpDocument() = delete;

  /// Writes the guide for these settings afresh, readable by the user only, into the user's folder
  /// for temporary files ($TMPDIR, or /tmp where that is no absolute path), and has the desktop
  /// open it. Waits for no disk. A file that cannot be written, as where another user has put
  /// something under its name, is logged and not opened.
  static void open(const AppSettings& settings, const Bundle& bundle, FileOpener& opener);
};

}  // namespace stowboard
