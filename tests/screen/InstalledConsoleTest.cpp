// The programs' command lines, and the installed console on the demo host
// (scripts/check-package.sh sets MEREL_INSTALLED_ROOT to a scratch root the
// package was unpacked into; without it that test is skipped).
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "MenuScreenUtil.h"
#include "NamespaceUtil.h"

namespace {

using MerelNamespaceTest::Slurp;
using MerelTest::Terminal;

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

// Each program runs once; its two outputs go to files of their own.
Outcome RunProgram(const std::string& program, const std::string& args) {
  char dir[] = "/tmp/merel-options-XXXXXX";
  const std::string scratch = mkdtemp(dir);
  const std::string command =
      "'" + program + "' " + args + " >" + scratch + "/out 2>" + scratch + "/err";
  const int status = std::system(command.c_str());
  Outcome run{WIFEXITED(status) ? WEXITSTATUS(status) : -1, Slurp(scratch + "/out"),
              Slurp(scratch + "/err")};
  std::filesystem::remove_all(scratch);
  return run;
}

TEST(CommandLineTest, HelpVersionAndUnknownOptions) {
  // The program, its arguments, the status, the start of standard output and
  // the whole of standard error.
  const std::tuple<const char*, const char*, int, const char*, const char*> cases[] = {
      {MEREL_BIN, "--version", 0, "merel ", ""},
      {MEREL_BIN, "-V", 0, "merel ", ""},
      {MEREL_BIN, "--help", 0, "usage: merel [--host linux|sim] [VT]\n", ""},
      // The host is chosen before anything else is read; these never run it.
      {MEREL_BIN, "--host linux --version", 0, "merel ", ""},
      {MEREL_BIN, "--host=sim --help", 0, "usage: merel ", ""},
      {MEREL_BIN, "--host", 2, "", "merel: --host needs a host: linux or sim\n"},
      {MEREL_BIN, "--host mars", 2, "", "merel: unknown host 'mars' (linux or sim)\n"},
      {MEREL_BIN, "--hostile", 2, "", "merel: unknown option '--hostile' (try 'merel --help')\n"},
      {MEREL_SIM_BIN, "--version", 0, "merel-sim ", ""},
      {MEREL_SIM_BIN, "--help", 0, "usage: merel-sim init ROOT", ""},
      {MEREL_SIM_BIN, "--nope", 2, "",
       "merel-sim: unknown option '--nope' (try 'merel-sim --help')\n"},
  };
  for (const auto& [program, args, status, out, err] : cases) {
    Outcome run = RunProgram(program, args);
    const std::string label = std::string(program) + " " + args;
    EXPECT_EQ(run.status, status) << label;
    EXPECT_TRUE(run.out.starts_with(out)) << label << ": " << run.out;
    EXPECT_EQ(run.err, err) << label;
  }
  // One version for both, and only one line of it.
  Outcome merel = RunProgram(MEREL_BIN, "--version");
  Outcome sim = RunProgram(MEREL_SIM_BIN, "--version");
  EXPECT_EQ(merel.out.substr(6), sim.out.substr(10));
  EXPECT_EQ(std::count(merel.out.begin(), merel.out.end(), '\n'), 1);
}

TEST(InstalledConsoleTest, StartsOnTheDemoHostAndEndsCleanly) {
  const char* installed = getenv("MEREL_INSTALLED_ROOT");
  if (installed == nullptr || *installed == '\0')
    GTEST_SKIP() << "MEREL_INSTALLED_ROOT is not set (scripts/check-package.sh sets it)";
  std::string root = installed;
  std::string sim = root + "/usr/bin/merel-sim";
  char dir[] = "/tmp/merel-installed-XXXXXX";
  std::string host = std::string(mkdtemp(dir)) + "/host";
  ASSERT_EQ(
      RunProgram(sim, "init '" + host + "' '" + root + "/usr/share/merel/demo-host.json'").status,
      0);
  {
    // merel-sim in usr/bin finds the console in usr/sbin beside it.
    Terminal console;
    ASSERT_TRUE(console.Start({sim, "run", host}));
    EXPECT_TRUE(console.WaitForText("http://192.168.10.20/")) << console.Text();
    console.Signal(SIGTERM);
    MerelMenuTest::ExpectExit(console);
  }
  std::filesystem::remove_all(std::filesystem::path(host).parent_path());
}

}  // namespace
