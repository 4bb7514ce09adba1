// The host-information getters against a real simulated host root (made by
// merel-sim init, with a real certificate and real SSH keys): what they read
// and what they fall back to.
#include <gtest/gtest.h>
#include <syslog.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "HostInformation.h"
#include "HostState.h"
#include "Platform.h"
#include "SimHostTestSupport.h"

namespace {

namespace Info = Merel::HostInformation;

TEST(HostInformationMemory, TruncatesToOneDecimal) {
  constexpr uint64_t kMiB = uint64_t{1} << 20, kGiB = uint64_t{1} << 30;
  const std::pair<uint64_t, const char*> cases[] = {
      {kGiB, "1 GB"},
      {8368128ull * 4096, "31.9 GB"},  // 31.92 GiB: the demo host
      {kGiB - 1, "1023.9 MB"},         // truncated, never rounded up to 1 GB
      {kGiB + kMiB, "1.0 GB"},         // a remainder shows its first digit, even 0
      {512 * 1024, "0.5 MB"},          // below a MiB the unit stays M
      {uint64_t{1} << 40, "1 TB"},
      {uint64_t{1} << 60, "1024 PB"},  // P is the last unit
  };
  for (const auto& [bytes, text] : cases) {
    EXPECT_EQ(Info::FormatMemory(bytes), text) << bytes;
  }
}

class HostInformationOnSimHost : public ::testing::Test {
 protected:
  void SetUp() override {
    Platform::OpenLog("MEREL", LOG_PID, LOG_USER);
    Info::ForgetCachedValues();
  }
  void TearDown() override { Info::ForgetCachedValues(); }

  void Change(const std::function<void(Platform::HostState&)>& change) {
    Platform::Current().Modify(change);
  }
  std::string Path(const std::string& hostPath) const { return _root.Path() + hostPath; }
  // What a shell command prints, the tools' output the getters parse.
  static std::string Capture(const std::string& command) {
    std::string output;
    if (FILE* pipe = popen(command.c_str(), "r")) {
      char buffer[512];
      for (size_t n; (n = fread(buffer, 1, sizeof(buffer), pipe)) > 0;) {
        output.append(buffer, n);
      }
      pclose(pipe);
    }
    return output;
  }
  std::string Syslog() const { return _root.File("/var/log/syslog.log"); }

  SimHostTest::SimRoot _root;
};

TEST_F(HostInformationOnSimHost, HostnameAndIpFallBack) {
  Change([](Platform::HostState& s) {
    s.network.dns.hostname = "host7";
    s.network.dns.domain = "lab.example";
  });
  EXPECT_EQ(Info::GetHostnameValue(), "host7.lab.example");
  EXPECT_EQ(Info::GetIpValue(), "192.168.10.20");
  // No domain; IPv6 only on the management interface.
  Change([](Platform::HostState& s) {
    s.network.dns.domain = "";
    s.network.nics[0].ipv4Mode = "none";
    s.network.nics[0].ipv4Address = "0.0.0.0";
    s.network.nics[0].ipv4Netmask = "0.0.0.0";
  });
  EXPECT_EQ(Info::GetHostnameValue(), "host7");
  EXPECT_EQ(Info::GetIpValue(), "0.0.0.0");
  Change([](Platform::HostState& s) { s.network.nics.clear(); });  // no management interface
  EXPECT_EQ(Info::GetIpValue(), "0.0.0.0");
}

// The tools' own answers for the host's certificate and key, kept once read;
// a missing file gives an empty value (and, for a key, a log line).
TEST_F(HostInformationOnSimHost, ThumbprintAndFingerprints) {
  const std::string cert = Path("/etc/ostrel/ssl/host.crt");
  const std::string sha1 = Capture("openssl x509 -in '" + cert + "' -noout -fingerprint -sha1");
  ASSERT_NE(sha1.find('='), std::string::npos) << sha1;
  const std::string thumbprint = sha1.substr(sha1.find('=') + 1, 59);
  EXPECT_EQ(Info::GetSSLThumbprintValue(), thumbprint);
  for (const std::string label : {"SHA1", "sha1"}) {  // OpenSSL 1 and 3
    EXPECT_EQ(Info::ParseSslFingerprint(label + sha1.substr(4)), thumbprint);
  }
  std::istringstream rsa(Capture("ssh-keygen -l -f '" + Path("/etc/ssh/ssh_host_rsa_key") + "'"));
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

// What the host does not know is "N/A", never an empty field.
TEST_F(HostInformationOnSimHost, FirmwareAndTagsOrNotAvailable) {
  const struct {
    std::string (*get)();
    const char* demo;
  } cases[] = {
      {Info::GetBIOSVersion, "Kestrel Systems (2.19) 2.19.1"},
      {Info::GetBMCVersion, "4.40.40.00"},
      {Info::GetPLSAVersion, "25.5.9.0001"},  // hba0, not hba1
      {Info::GetAssetTag, "LAB-0042"},
      {Info::GetServiceTag, "7RBY4M2"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.get(), c.demo);
  }
  EXPECT_EQ(Info::GetCPLDVersion(), "N/A");
  EXPECT_EQ(Info::GetSystemMemory(), "31.9 GB");
  Change([](Platform::HostState& s) {
    s.hardware.bios = {};
    s.hardware.bmcVersion = "";
    s.hardware.assetTag = "";
    s.hardware.serviceTag = "";
    s.hardware.storageAdapters.erase(s.hardware.storageAdapters.begin());  // no hba0
  });
  for (const auto& c : cases) {
    EXPECT_EQ(c.get(), "N/A") << c.demo;
  }
  EXPECT_EQ(Info::GetVersionString(5), "N/A");
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
