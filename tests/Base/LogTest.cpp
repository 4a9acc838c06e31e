#include "Base/Log.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Base/LogWriter.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

/// Writers live for ever, as in the program; kept here, so that none counts as lost.
LogWriter& makeWriter(LogWriter::Target target, int descriptor) {
  static std::vector<std::unique_ptr<LogWriter>>& writers =
      *new std::vector<std::unique_ptr<LogWriter>>();
  return *writers.emplace_back(std::make_unique<LogWriter>(target, descriptor));
}

/// A terminal that takes nothing more once its buffer is full, until it is read.
struct Terminal {
  Terminal() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
  ~Terminal() { close(ends[0]); }

  std::string readUntil(const std::string& last) const {
    std::string text;
    char buffer[4096];
    while (!text.ends_with(last)) {
      const auto count = read(ends[0], buffer, sizeof buffer);
      if (count <= 0) break;
      text.append(buffer, static_cast<std::size_t>(count));
    }
    return text;
  }

  int ends[2];
};

TEST(Log, HandsLinesOfEveryThreadToTheOneObserver) {
  LogCapture capture;
  Log::storage.error("Failed to save {}: {}", "history.json", 28);
  std::thread([] { Log::hotKey.info("Registered {}", 101); }).join();
  EXPECT_THAT(capture.lines(), ElementsAre("error storage: Failed to save history.json: 28",
                                           "info hotkey: Registered 101"));
  EXPECT_THAT(capture.errors("storage"), ElementsAre(EndsWith("history.json: 28")));
  EXPECT_THAT(capture.infos("storage"), ElementsAre());
}

TEST(LogWriter, WritesLinesInOrderAndInfoToATerminalOnly) {
  const Terminal terminal, file;
  auto& toTerminal = makeWriter(LogWriter::Target::terminal, terminal.ends[1]);
  auto& toFile = makeWriter(LogWriter::Target::standardError, file.ends[1]);
  for (auto* const writer : {&toTerminal, &toFile}) {
    writer->add({false, "clipboard", "Captured: secret"});
    writer->add({true, "clipboard", "last"});
    EXPECT_TRUE(writer->waitUntilWritten(60s));
  }
  EXPECT_THAT(terminal.readUntil("last\n"),
              testing::MatchesRegex("..:..:..\\.... clipboard: Captured: secret\n"
                                    "..:..:..\\.... error clipboard: last\n"));
  EXPECT_THAT(file.readUntil("last\n"), testing::Not(HasSubstr("secret")));
}

TEST(LogWriter, EscapesWhatCouldCommandTheTerminal) {
  const auto line = LogWriter::format({true, "app", "a\nb\x1B[2J\x7F\u009B é历\xFF\xC2"}, {});
  EXPECT_THAT(line, EndsWith(" error app: a\\nb\\x1B[2J\\x7F\\u009B é历\uFFFD\uFFFD\n"));
}

TEST(LogWriter, AStoppedTerminalHoldsNobodyAndDroppedLinesAreCounted) {
  const Terminal terminal;
  auto& writer = makeWriter(LogWriter::Target::terminal, terminal.ends[1]);
  const std::string longMessage(1000, 'x');
  // More than the pipe, the bound and the line in the writer's hands can take.
  for (int index = 0; index < 10000; ++index) writer.add({false, "app", longMessage});
  EXPECT_FALSE(writer.waitUntilWritten(1ms));
  const auto text = terminal.readUntil(" log lines were dropped\n");
  EXPECT_TRUE(writer.waitUntilWritten(60s));
  const auto written = static_cast<int>(std::ranges::count(text, '\n')) - 1;
  EXPECT_THAT(text, EndsWith(" error app: " + std::to_string(10000 - written) +
                             " log lines were dropped\n"));
  EXPECT_GE(written, int(LogWriter::mostWaitingBytes / longMessage.size()));
}

}  // namespace
}  // namespace stowboard
