#include <gmock/gmock.h>

#include "Services/LoginItemService.h"
#include "Utils/PermissionHelper.h"
#include "fakes/FakeAccessibilityTrust.h"
#include "fakes/FakeLoginItems.h"
#include "fakes/LogCapture.h"

namespace stowboard {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(PermissionHelper, GuidesToTheSettingsOncePerRunAndLogsEveryRefusal) {
  FakeAccessibilityTrust trust;
  PermissionHelper helper(trust);
  LogCapture log;
  EXPECT_FALSE(helper.requestIfNeeded());
  EXPECT_FALSE(helper.requestIfNeeded());
  const std::string refusal =
      "error paste: Accessibility permission missing — simulated Cmd+V will be dropped by the "
      "system";
  EXPECT_THAT(log.lines(), ElementsAre(refusal, refusal));
  EXPECT_EQ(trust.openings, 1);
  trust.trusted = true;
  EXPECT_TRUE(helper.requestIfNeeded());
  EXPECT_EQ(log.lines().size(), 2u);
  trust.trusted = false;
  EXPECT_FALSE(helper.isGranted()) << "asked anew each time";
}

TEST(LoginItemService, ChangesWhatTheSystemKeepsAndSaysSo) {
  FakeLoginItems items;
  LoginItemService service(items);
  LogCapture log;
  EXPECT_FALSE(service.setEnabled(true));
  EXPECT_TRUE(service.isEnabled());
  EXPECT_FALSE(service.setEnabled(false));
  EXPECT_FALSE(service.isEnabled());
  EXPECT_THAT(log.lines(), ElementsAre("info settings: Login item enabled",
                                       "info settings: Login item disabled"));
  for (const auto other : {LoginItems::Status::requiresApproval, LoginItems::Status::notFound}) {
    items.current = other;
    EXPECT_FALSE(service.isEnabled());
  }
}

TEST(LoginItemService, PassesTheSystemsRefusalOn) {
  FakeLoginItems items;
  items.failure = "Read-only file system";
  LoginItemService service(items);
  LogCapture log;
  const auto error = service.setEnabled(true);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->localizedDescription(), "Failed to update login item: Read-only file system");
  EXPECT_THAT(log.lines(),
              ElementsAre("error settings: Login item toggle failed: Read-only file system"));
}

}  // namespace
}  // namespace stowboard
