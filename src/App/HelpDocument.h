#pragma once

#include <filesystem>
#include <string>

#include "Base/SerialQueue.h"
#include "Models/AppSettings.h"
#include "Platform/Bundle.h"
#include "Platform/RunLoop.h"
#include "Platform/Workspace.h"

namespace stowboard {

/// The user guide as a file that the desktop shows. Main thread.
class HelpDocument {
 public:
  /// The run loop and the workspace must outlive what is posted to the loop; `temporaryFolder` is
  /// where the file goes. Destruction waits for a write that is under way.
  HelpDocument(RunLoop& runLoop, Workspace& workspace, std::filesystem::path temporaryFolder);

  /// Writes the guide for these settings afresh, readable by the user only, and then has the
  /// desktop open it. Returns at once; several requests are served in order. A file that cannot be
  /// written, as where another user has put something under its name, is logged and not opened.
  void open(const AppSettings& settings);

  /// The user's folder for temporary files: $TMPDIR, or /tmp where that is no absolute path.
  static std::filesystem::path temporaryFolder(const Bundle& bundle);

 private:
  void write(const std::filesystem::path& file, const std::string& text);

  RunLoop& runLoop_;
  Workspace& workspace_;
  const std::filesystem::path folder_;
  SerialQueue queue_{"help"};
};

}  // namespace stowboard
