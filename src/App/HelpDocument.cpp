#include "App/HelpDocument.h"

#include <utility>

#include "Base/Log.h"
#include "Utils/AtomicFile.h"
#include "Utils/HelpGuide.h"

namespace stowboard {

namespace fs = std::filesystem;

HelpDocument::HelpDocument(RunLoop& runLoop, Workspace& workspace, fs::path temporaryFolder)
    : runLoop_(runLoop), workspace_(workspace), folder_(std::move(temporaryFolder)) {}

void HelpDocument::open(const AppSettings& settings) {
  queue_.async([this, file = folder_ / HelpGuide::fileName(settings.language),
                text = HelpGuide::text(settings)] { write(file, text); });
}

// Others may write to the folder, too. A new file put in the place of the name follows no link that
// they have left there.
void HelpDocument::write(const fs::path& file, const std::string& text) {
  AtomicFile replacement(file);
  if (!replacement.write(text) || !replacement.sync() || !replacement.replaceTarget()) {
    Log::ui.error("Failed to write help file: {}", replacement.error().description);
    return;
  }
  runLoop_.post([&workspace = workspace_, file] { workspace.open(file); });
}

fs::path HelpDocument::temporaryFolder(const Bundle& bundle) {
  const fs::path folder = bundle.environment("TMPDIR").value_or("");
  return folder.is_absolute() ? folder : "/tmp";
}

}  // namespace stowboard
