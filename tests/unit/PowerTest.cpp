// No request of the console can reach the machine the tests run on: the
// simulated host runs only its own programs. (What its power tools do to the
// virtual machines is read off the real console by the power screen tests.)
#include <sys/stat.h>

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "Platform.h"
#include "SimHostTestSupport.h"

namespace {

using namespace SimHostTest;

// A stand-in for the machine's own "poweroff", outside the host root but
// reachable from it by "..", PATH and the like; it only leaves a mark. A
// failing refusal therefore runs this and never the real thing.
TEST(SimHostSafetyTest, ProgramsOutsideTheHostRootAreRefusedAndLogged) {
  SimRoot root;
  const std::string outside = root.Path() + "/..";
  const std::string mark = outside + "/ran";
  mkdir((outside + "/sbin").c_str(), 0755);
  std::ofstream(outside + "/sbin/poweroff") << "#!/bin/sh\n: > '" << mark << "'\n";
  chmod((outside + "/sbin/poweroff").c_str(), 0755);
  unlink((root.Path() + "/sbin/poweroff").c_str());

  const std::string commands[] = {
      root.Path() + "/../sbin/poweroff",
      "/bin/sh -c '" + root.Path() + "/../sbin/poweroff'",
      "PATH=" + outside + "/sbin poweroff",
      "cd " + outside + "/sbin && ./poweroff",
      "true; poweroff",  // the root has no poweroff of its own now
  };
  for (const auto& command : commands) {
    EXPECT_EQ(ExitCode(Platform::System(command.c_str())), 127) << command;
  }
  char name[] = "poweroff";
  char* const argv[] = {name, nullptr};
  EXPECT_EQ(Platform::Spawn("/../sbin/poweroff", argv, nullptr, 0, 1, 2), -1);

  EXPECT_NE(access(mark.c_str(), F_OK), 0) << "a program outside the host root ran";
  const std::string syslog = root.File("/var/log/syslog.log");
  EXPECT_NE(syslog.find("refused to run " + root.Path() + "/../sbin/poweroff"), std::string::npos);
  EXPECT_NE(syslog.find("refused to run poweroff"), std::string::npos) << syslog;
}

}  // namespace
