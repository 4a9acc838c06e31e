#include "App/HelpDocument.h"

#include "Base/Files/AtomicFile.h"
#include "Base/Log.h"
#include "Utils/HelpGuide.h"

namespace stowboard {

namespace {

std::filesystem::path temporaryFolder(const Bundle& bundle) {
  const std::filesystem::path folder = bundle.environment("TMPDIR").value_or("");
  return folder.is_absolute() ? folder : "/tmp";
}

}  // namespace

// Others may write to the folder, too. A new file put in the place of the name follows no link that
// they have left there.
void HelpDocument::open(const AppSettings& settings, const Bundle& bundle, FileOpener& opener) {
  const auto file = temporaryFolder(bundle) / HelpGuide::fileName(settings.language);
  AtomicFile replacement(file);
  if (replacement.write(HelpGuide::text(settings)) && replacement.putInPlace()) {
    opener.open(file);
  } else {
    Log::ui.error("Failed to write help file: {}", replacement.error().description);
  }
}

}  // namespace stowboard
