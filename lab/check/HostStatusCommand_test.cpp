#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/processes/Program_testing.h"
#include "lab/processes/Stage.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab::check {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class HostStatus : public testing::Test {
 protected:
  [[nodiscard]] Program::Result hostStatus() const {
    return runLab({"host-status", "--container", stage_.container(), "--timeout", "1"});
  }

  TemporaryDirectory directory_;
  Stage stage_{directory_.path()};
};

TEST_F(HostStatus, WaitsOnceForAHostThatDoesNotAnswer) {
  stage_.startHost(KORVAN_BROKEN_HOST, {"--mistake", "never-answers"}).nextEvent();
  EXPECT_THAT(hostStatus().output,
              AllOf(HasSubstr("the host does not answer"), HasSubstr(" passed, 1 failed, ")));
}

TEST_F(HostStatus, AsksNothingWhereNobodyListens) {
  std::filesystem::create_directory(stage_.container());
  const auto result = hostStatus();
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.output,
              AllOf(HasSubstr("- answer.ok (socket.present failed)"), Not(HasSubstr("name it"))));
}

}  // namespace
}  // namespace korvan::lab::check
