// The screens' own rules: the pager's environment, the welcome screen's formats, the support
// information's wrapping, the time-out values, the product line and the host-information getters.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "../common/CommandOutput.h"
#include "CursesFixture.h"
#include "Frame.h"
#include "HostInformation.h"
#include "HostState.h"
#include "LogViewer.h"
#include "SimHostTestSupport.h"
#include "StringFactory.h"
#include "SupportInformationDialog.h"
#include "TimeoutInput.h"
#include "WelcomeWindow.h"

namespace Merel {
namespace {

// The pager runs in its secure mode and leaves LESSSECURE as it found it; an
// unset variable deliberately comes back set and empty. (Its arguments, the
// prompt and the log's path, are seen by the log viewer's screen tests.)
TEST(LogViewerTest, PagerRunsSecureAndLessSecureIsPutBack) {
  const char* runner = getenv("LESSSECURE");
  const auto saved = runner ? std::optional<std::string>(runner) : std::nullopt;
  SimHostTest::SimRoot root;
  // The root's pager is a link to the real one: remove the link (never write
  // through it) and put a recorder in its place.
  const std::string pager = root.Path() + "/bin/less", record = root.Path() + "/tmp/pager";
  unlink(pager.c_str());
  std::ofstream(pager) << "#!/bin/sh\necho \"$LESSSECURE\" > '" << record << "'\n";
  ASSERT_EQ(chmod(pager.c_str(), 0755), 0);
  MerelTest::CursesScreen screen;
  ASSERT_TRUE(screen.Ok());
  const std::pair<std::optional<std::string>, std::string> cases[] = {
      {"7", "7"}, {"", ""}, {std::nullopt, ""}};
  for (const auto& [former, after] : cases) {
    former ? setenv("LESSSECURE", former->c_str(), 1) : unsetenv("LESSSECURE");
    unlink(record.c_str());
    fflush(stdout);
    const int stdoutCopy = dup(STDOUT_FILENO);  // the pager hand-over works on descriptor 1
    dup2(screen.Slave(), STDOUT_FILENO);
    LogViewer().Show(2, nullptr);  // Config: /var/log/hostboot.log
    dup2(stdoutCopy, STDOUT_FILENO);
    close(stdoutCopy);
    EXPECT_EQ(root.File("/tmp/pager"), "1\n");
    EXPECT_STREQ(getenv("LESSSECURE"), after.c_str()) << former.value_or("unset");
  }
  saved ? setenv("LESSSECURE", saved->c_str(), 1) : unsetenv("LESSSECURE");
}

// The welcome screen rounds the memory to one decimal in the stream's default
// form; the host-information getter truncates, and shows a remainder's first
// digit even when it is 0.
TEST(MemoryTextTest, WelcomeRoundsTheGetterTruncates) {
  constexpr uint64_t kMiB = uint64_t{1} << 20, kGiB = uint64_t{1} << 30;
  const std::tuple<uint64_t, const char*, const char*> cases[] = {
      // Just below 1 GiB the welcome rounds up and its unit stays; the getter
      // never rounds up to 1 GB.
      {kGiB - 1, "1024 MiB Memory", "1023.9 MB"},
      {kGiB, "1 GiB Memory", "1 GB"}, {kGiB + kMiB, "1 GiB Memory", "1.0 GB"},
      {512 * 1024, "0.5 MiB Memory", "0.5 MB"},  // below a MiB the unit stays
      {uint64_t{1} << 60, "1024 PiB Memory", "1024 PB"},  // P is the last unit
  };
  for (const auto& [bytes, welcome, getter] : cases)
    EXPECT_EQ(std::pair(WelcomeWindow::FormatMemory(bytes), HostInformation::FormatMemory(bytes)),
              std::pair(std::string(welcome), std::string(getter)))
        << bytes;
}

// What the fixture hosts of the screen tests do not show.
TEST(WelcomeTest, AddressTextCutsLongNamesAndShortensTheNoAdapterTextWhenTight) {
  WelcomeWindow::ManagementAccess access;  // no management interface
  access.ipv4 = {"10.0.0.5"};              // never shown without one
  auto compose = [&](int width, int height) {
    return WelcomeWindow::ComposeAddressText(access, width, height, GetStringFactory("en_US"));
  };
  EXPECT_EQ(compose(48, 2), "No compatible network adapter found.");
  access.hasInterface = true;
  access.hostname = std::string(60, 'h') + ".example.com";
  EXPECT_NE(compose(30, 6).find("\nhttp://" + std::string(20, 'h') + "... "), std::string::npos);
}

TEST(SupportInformationTest, PlainTextCutToTheWidth) {
  using Lines = std::vector<std::string>;
  const std::tuple<std::string, int, Lines> cases[] = {
      {"Serial: 42\n\nVendor: X\n", 20, {"Serial: 42", "", "Vendor: X"}},
      {"alpha beta gamma", 10, {"alpha beta", "gamma"}}, {"a\tb", 20, {"a       b"}},
      {"abcdefghijkl", 5, {"abcde", "fghij", "kl"}}, {"", 10, {}},
      {"a\r\nb\001c\r\n", 20, {"a", "bc"}},  // carriage returns and controls dropped
      {"ab\xc3\xa9", 3, {"ab", "\xc3\xa9"}},  // a character is not split
  };
  for (const auto& [text, width, lines] : cases)
    EXPECT_EQ(SupportInformationDialog::WrapText(text, width), lines) << text;
}

// Time-out values as the host tool prints them (what is typed is checked
// through the dialog by the screen tests).
TEST(TimeoutInput, HostToolSecondsToWholeMinutes) {
  const std::pair<const char*, int> cases[] = {
      {"900\n", 15}, {"59\n", 0}, {"86400\n", 1440}, {"\n", 0}, {"", 0}, {"abc\n", 0},
      {"-60\n", 0}};
  for (const auto& [output, minutes] : cases)
    EXPECT_EQ(AdvcfgMinutes(output), minutes) << output;
}

// The product line (key 2) is made once per process, so this runs in a
// child process of its own: a host that cannot be read gives an empty line,
// and the line is asked for again until the host can be read.
void CheckProductLine() {
  bool ok = false;
  {
    // The demo host; _exit runs no destructors, so its folder goes first.
    SimHostTest::SimRoot root;
    auto productLine = [] {
      return std::string(GetStringFactory("en_US")->GetString(Strings::kWelcomeProductLine));
    };
    const std::string json = root.Path() + "/host.json";
    std::filesystem::rename(json, json + ".away");
    ok = productLine().empty();
    std::filesystem::rename(json + ".away", json);
    ok = ok && productLine() == "Tarvik 8.0.2 (Nexel 8.0.2 Build 3074155)";
  }
  _exit(ok ? 0 : 1);
}

TEST(StringFactoryTest, ProductLineIsAskedForAgainWhileTheHostCannotBeRead) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(CheckProductLine(), testing::ExitedWithCode(0), "");
}

// The host-information getters against a real simulated host root (with a
// real certificate and real SSH keys): what they read and what they fall
// back to.
namespace Info = HostInformation;

class HostInformationOnSimHost : public ::testing::Test {
 protected:
  void SetUp() override {
    Platform::OpenLog("MEREL", LOG_PID, LOG_USER);
    Info::ForgetCachedValues();
  }
  void TearDown() override { Info::ForgetCachedValues(); }

  std::string Path(const std::string& hostPath) const { return _root.Path() + hostPath; }
  std::string Syslog() const { return _root.File("/var/log/syslog.log"); }

  SimHostTest::SimRoot _root;
};

// The tools' own answers for the host's certificate and key, kept once read;
// a missing file gives an empty value (and, for a key, a log line).
TEST_F(HostInformationOnSimHost, ThumbprintAndFingerprints) {
  const std::string cert = Path("/etc/ostrel/ssl/host.crt");
  const std::string sha1 =
      MerelTestCommon::CommandOutput("openssl x509 -in '" + cert + "' -noout -fingerprint -sha1");
  ASSERT_NE(sha1.find('='), std::string::npos) << sha1;
  const std::string thumbprint = sha1.substr(sha1.find('=') + 1, 59);
  EXPECT_EQ(Info::GetSSLThumbprintValue(), thumbprint);
  for (const std::string label : {"SHA1", "sha1"}) {  // OpenSSL 1 and 3
    EXPECT_EQ(Info::ParseSslFingerprint(label + sha1.substr(4)), thumbprint);
  }
  std::istringstream rsa(MerelTestCommon::CommandOutput("ssh-keygen -l -f '" +
                                                        Path("/etc/ssh/ssh_host_rsa_key") + "'"));
  std::string bits, fingerprint;
  rsa >> bits >> fingerprint;
  ASSERT_EQ(fingerprint.rfind("SHA256:", 0), 0u);
  EXPECT_EQ(Info::GetSSHRsaKeyFingerprintValue(), fingerprint);

  std::filesystem::remove(cert);
  EXPECT_FALSE(Info::GetSSLThumbprintValue().empty()) << "not kept";
  Info::ForgetCachedValues();
  EXPECT_EQ(Info::GetSSLThumbprintValue(), "");
  std::filesystem::remove(Path("/etc/ssh/ssh_host_dsa_key"));
  std::filesystem::remove(Path("/etc/ssh/ssh_host_dsa_key.pub"));
  EXPECT_EQ(Info::GetSSHDsaKeyFingerprintValue(), "");
  EXPECT_NE(Syslog().find("user.info Error generating SSH Key Fingerprint: "), std::string::npos)
      << Syslog();
}

// What the host does not know is "N/A", never an empty field. (The name with
// its domain, and the address, are seen on the welcome screens; without a
// management interface the address is all zeros.)
TEST_F(HostInformationOnSimHost, FirmwareAndTagsOrNotAvailable) {
  const auto values = [] {
    return std::vector{Info::GetBIOSVersion(),   Info::GetBMCVersion(), Info::GetPLSAVersion(),
                       Info::GetAssetTag(),      Info::GetServiceTag(), Info::GetCPLDVersion(),
                       Info::GetVersionString(5)};
  };
  EXPECT_EQ(values(), (std::vector<std::string>{"Kestrel Systems (2.19) 2.19.1", "4.40.40.00",
                                                "25.5.9.0001",  // hba0, not hba1
                                                "LAB-0042", "7RBY4M2", "N/A", "N/A"}));
  EXPECT_EQ(Info::GetSystemMemory(), "31.9 GB");
  Platform::Current().Modify([](Platform::HostState& s) {
    s.hardware.bios = {};
    s.hardware.bmcVersion = "";
    s.hardware.assetTag = "";
    s.hardware.serviceTag = "";
    s.hardware.storageAdapters.erase(s.hardware.storageAdapters.begin());  // no hba0
    s.network.nics.clear();
  });
  EXPECT_EQ(values(), std::vector<std::string>(7, "N/A"));
  EXPECT_EQ(Info::GetIpValue(), "0.0.0.0");
  EXPECT_NE(Syslog().find("user.err Invalid version id: 5 requested"), std::string::npos);
}

TEST_F(HostInformationOnSimHost, UnreadableHostGivesFallbacksAndLogs) {
  // A state file that cannot be parsed makes every host call throw.
  std::ofstream(Path("/host.json"), std::ios::trunc) << "{ not json";
  EXPECT_EQ(Info::GetBIOSVersion(), "N/A");
  EXPECT_NE(Syslog().find("user.err Get BIOS version string failed, err="), std::string::npos)
      << Syslog();
  EXPECT_EQ(std::tuple(Info::GetIpValue(), Info::GetHostnameValue(), Info::GetSystemMemory(),
                       Info::GetTarvikVersion()),
            std::tuple("0.0.0.0", "", "N/A", ""));
}

}  // namespace
}  // namespace Merel
