#include "App/HelpDocument.h"

#include "Base/Files/AtomicFile.h"
#include "Base/Log.h"
#include "Utils/HelpGuide.h"

namespace stowboard {

namespace {

// The user's folder for temporary files, or one that he has to himself: what lies under a fixed
// name in a folder shared by all may be another user's.
FileError findFolder(const Bundle& bundle, std::filesystem::path& folder) {
  const auto named = [&](const char* variable) {
    folder = bundle.environment(variable).value_or("");
    return folder.is_absolute();
  };
  if (named("TMPDIR")) return {};
  if (!named("XDG_RUNTIME_DIR") && !named("XDG_CACHE_HOME")) {
    folder = bundle.applicationSupportFolder();
  }
  folder /= "Stowboard";
  const FileError error = createPrivateFolder(folder);
  return error.empty() ? makePrivate(folder) : error;
}

}  // namespace

// Others may write to a folder that the user names, too. A new file put in the place of the name
// follows no link that they have left there.
void HelpDocument::open(const AppSettings& settings, const Bundle& bundle, FileOpener& opener) {
  std::filesystem::path folder;
  FileError error = findFolder(bundle, folder);
  const auto file = folder / HelpGuide::fileName(settings.language);
  if (error.empty()) {
    AtomicFile replacement(file);
    if (replacement.write(HelpGuide::text(settings)) && replacement.putInPlace()) {
      return opener.open(file);
    }
    error = replacement.error();
  }
  Log::ui.error("Failed to write help file: {}", error.description);
}

}  // namespace stowboard
