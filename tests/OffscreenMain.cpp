#include <gmock/gmock.h>

#include <QApplication>

// The toolkit's windows live in memory: these tests need no display.
int main(int argumentCount, char** arguments) {
  ::testing::InitGoogleMock(&argumentCount, arguments);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argumentCount, arguments);
  return RUN_ALL_TESTS();
}
