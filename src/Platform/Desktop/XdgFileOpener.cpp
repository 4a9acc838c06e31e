#include "Platform/Desktop/XdgFileOpener.h"

#include <QProcess>

#include "Base/Log.h"

namespace stowboard {

// Not by QDesktopServices, which in a sandbox waits for the desktop's answer.
void XdgFileOpener::open(const std::filesystem::path& file) {
  QProcess opener;
  opener.setProgram(QStringLiteral("xdg-open"));
  opener.setArguments({QString::fromStdString(file.native())});
  opener.setStandardOutputFile(QProcess::nullDevice());
  opener.setStandardErrorFile(QProcess::nullDevice());
  if (!opener.startDetached()) {
    Log::app.info("{} cannot be opened: {}", file.native(), opener.errorString().toStdString());
  }
}

}  // namespace stowboard
