// The host-information getters against a real simulated host root (made by
// merel-sim init, with a real certificate and real SSH keys), and the pure
// pieces behind them.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>

#include "HostInformation.h"
#include "HostState.h"
#include "Platform.h"
#include "TextArea.h"
#include "backends/SimBackend.h"

namespace {

using Merel::TextArea;
namespace Info = Merel::HostInformation;

constexpr uint64_t kMiB = uint64_t{1} << 20;
constexpr uint64_t kGiB = uint64_t{1} << 30;

std::string Capture(const std::string& command) {
  std::string output;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[512];
    size_t n;
    while ((n = fread(buffer, 1, sizeof(buffer), pipe)) > 0) {
      output.append(buffer, n);
    }
    pclose(pipe);
  }
  return output;
}

std::string ReadAll(const std::string& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

// A simulated host root of the demo host, installed as the platform backend
// for the test and removed afterwards.
class HostInformationOnSimHost : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/merel-hostinfo-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    _dir = pattern;
    _root = _dir + "/root";
    ASSERT_EQ(system((std::string(MEREL_SIM_BIN) + " init " + _root + " >/dev/null 2>&1").c_str()),
              0);
    std::string error;
    std::unique_ptr<Platform::SimBackend> backend = Platform::SimBackend::Open(_root, error);
    ASSERT_NE(backend, nullptr) << error;
    Platform::Install(std::move(backend));
    Platform::OpenLog("MEREL", LOG_PID, LOG_USER);
    Info::ForgetCachedValues();
  }

  void TearDown() override {
    Platform::Install(nullptr);
    Info::ForgetCachedValues();
    std::filesystem::remove_all(_dir);
  }

  void Change(const std::function<void(Platform::HostState&)>& change) {
    Platform::Current().Modify(change);
  }
  std::string Path(const std::string& hostPath) const { return _root + hostPath; }
  std::string Syslog() const { return ReadAll(Path("/var/log/syslog.log")); }

  std::string _dir;
  std::string _root;
};

TEST(HostInformationMemory, GetterFormTruncatesToOneDecimal) {
  const struct {
    uint64_t bytes;
    const char* text;
  } cases[] = {
      {kGiB, "1 GB"},
      {1536 * kMiB, "1.5 GB"},
      {8 * kGiB, "8 GB"},
      {8368128ull * 4096, "31.9 GB"},  // 31.92 GiB: the demo host
      {kGiB - 1, "1023.9 MB"},         // truncated, never rounded up to 1 GB
      {kGiB + kMiB, "1.0 GB"},         // a remainder shows its first digit, even 0
      {512 * 1024, "0.5 MB"},          // below a MiB the unit stays M
      {kMiB, "1 MB"},
      {uint64_t{1} << 40, "1 TB"},
      {uint64_t{1} << 50, "1 PB"},
      {uint64_t{1} << 60, "1024 PB"},  // P is the last unit
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Info::FormatMemory(c.bytes), c.text) << c.bytes;
  }
}

TEST(HostInformationParse, SslFingerprintEitherLabel) {
  const std::string hex = "A0:B7:B7:45:37:EB:21:EA:52:D4:3B:9E:34:CD:B9:CD:68:57:1C:B2";
  EXPECT_EQ(Info::ParseSslFingerprint("SHA1 Fingerprint=" + hex + "\n"), hex);
  EXPECT_EQ(Info::ParseSslFingerprint("sha1 Fingerprint=" + hex + "\n"), hex);
  EXPECT_EQ(Info::ParseSslFingerprint("unable to load certificate\n"), "");
  EXPECT_EQ(Info::ParseSslFingerprint(""), "");
}

TEST(HostInformationParse, SshFingerprintIsTheSecondField) {
  EXPECT_EQ(Info::ParseSshFingerprint("3072 SHA256:BQKEf8pomdQLVZ5Xr0WQ root@host (RSA)\n"),
            "SHA256:BQKEf8pomdQLVZ5Xr0WQ");
  EXPECT_EQ(Info::ParseSshFingerprint("1024\n"), "");
  EXPECT_EQ(Info::ParseSshFingerprint(""), "");
}

TEST_F(HostInformationOnSimHost, HostnameWithAndWithoutDomain) {
  Change([](Platform::HostState& s) {
    s.network.dns.hostname = "esx7";
    s.network.dns.domain = "lab.example";
  });
  EXPECT_EQ(TextArea::GetHostnameValue(), "esx7.lab.example");
  Change([](Platform::HostState& s) { s.network.dns.domain = ""; });
  EXPECT_EQ(TextArea::GetHostnameValue(), "esx7");
}

TEST_F(HostInformationOnSimHost, IpIsTheManagementIpv4AddressOrZeros) {
  EXPECT_EQ(TextArea::GetIpValue(), "192.168.10.20");

  // IPv6 only: no IPv4 address on the management interface.
  Change([](Platform::HostState& s) {
    s.network.nics[0].ipv4Mode = "none";
    s.network.nics[0].ipv4Address = "0.0.0.0";
    s.network.nics[0].ipv4Netmask = "0.0.0.0";
  });
  EXPECT_EQ(TextArea::GetIpValue(), "0.0.0.0");

  Change([](Platform::HostState& s) {
    for (auto& nic : s.network.nics)
      nic.management = false;
  });
  EXPECT_EQ(TextArea::GetIpValue(), "0.0.0.0");
}

TEST_F(HostInformationOnSimHost, SslThumbprintIsTheCertificatesSha1) {
  const std::string cert = Path("/etc/ostrel/ssl/host.crt");
  ASSERT_TRUE(std::filesystem::exists(cert));
  const std::string expected = Info::ParseSslFingerprint(
      Capture("openssl x509 -in '" + cert + "' -noout -fingerprint -sha1"));
  ASSERT_EQ(expected.size(), 59u);  // 20 hex pairs and 19 colons
  EXPECT_EQ(TextArea::GetSSLThumbprintValue(), expected);
}

TEST_F(HostInformationOnSimHost, MissingCertificateGivesAnEmptyThumbprint) {
  std::filesystem::remove(Path("/etc/ostrel/ssl/host.crt"));
  EXPECT_EQ(TextArea::GetSSLThumbprintValue(), "");
}

TEST_F(HostInformationOnSimHost, ThumbprintIsKeptOnceRead) {
  const std::string first = TextArea::GetSSLThumbprintValue();
  ASSERT_FALSE(first.empty());
  std::filesystem::remove(Path("/etc/ostrel/ssl/host.crt"));
  EXPECT_EQ(TextArea::GetSSLThumbprintValue(), first);
  Info::ForgetCachedValues();
  EXPECT_EQ(TextArea::GetSSLThumbprintValue(), "");
}

TEST_F(HostInformationOnSimHost, SshRsaFingerprintIsTheFingerprintFieldOnly) {
  const std::string key = Path("/etc/ssh/ssh_host_rsa_key");
  ASSERT_TRUE(std::filesystem::exists(key));
  const std::string expected = Info::ParseSshFingerprint(Capture("ssh-keygen -l -f '" + key + "'"));
  ASSERT_EQ(expected.rfind("SHA256:", 0), 0u);
  EXPECT_EQ(TextArea::GetSSHRsaKeyFingerprintValue(), expected);
}

TEST_F(HostInformationOnSimHost, MissingSshKeyIsLoggedAndEmpty) {
  std::filesystem::remove(Path("/etc/ssh/ssh_host_dsa_key"));
  std::filesystem::remove(Path("/etc/ssh/ssh_host_dsa_key.pub"));
  EXPECT_EQ(TextArea::GetSSHDsaKeyFingerprintValue(), "");
  EXPECT_NE(Syslog().find("user.info Error generating SSH Key Fingerprint: "), std::string::npos)
      << Syslog();
}

TEST_F(HostInformationOnSimHost, MemoryProductAndVersion) {
  EXPECT_EQ(TextArea::GetSystemMemory(), "31.9 GB");
  Change([](Platform::HostState& s) {
    s.hardware.memory.totalPages = 262144;  // 1 GiB of 4 KiB pages
    s.product.name = "Tarvik";
    s.product.version = "9.1.0";
    s.product.build = "3141592";
  });
  EXPECT_EQ(TextArea::GetSystemMemory(), "1 GB");
  EXPECT_EQ(TextArea::GetTarvikProduct(), "Tarvik");
  EXPECT_EQ(TextArea::GetTarvikVersion(), "9.1.0 build-3141592");
}

TEST_F(HostInformationOnSimHost, FirmwareAndTags) {
  EXPECT_EQ(TextArea::GetBIOSVersion(), "Kestrel Systems (2.19) 2.19.1");
  EXPECT_EQ(TextArea::GetBMCVersion(), "4.40.40.00");
  EXPECT_EQ(TextArea::GetPLSAVersion(), "25.5.9.0001");  // hba0, not hba1
  EXPECT_EQ(TextArea::GetAssetTag(), "LAB-0042");
  EXPECT_EQ(TextArea::GetServiceTag(), "7RBY4M2");
  EXPECT_EQ(TextArea::GetCPLDVersion(), "N/A");

  // What the host does not know is "N/A", never an empty field.
  Change([](Platform::HostState& s) {
    s.hardware.bios = {};
    s.hardware.bmcVersion = "";
    s.hardware.assetTag = "";
    s.hardware.serviceTag = "";
    s.hardware.storageAdapters.erase(s.hardware.storageAdapters.begin());  // no hba0
  });
  EXPECT_EQ(TextArea::GetBIOSVersion(), "N/A");
  EXPECT_EQ(TextArea::GetBMCVersion(), "N/A");
  EXPECT_EQ(TextArea::GetPLSAVersion(), "N/A");
  EXPECT_EQ(TextArea::GetAssetTag(), "N/A");
  EXPECT_EQ(TextArea::GetServiceTag(), "N/A");
}

TEST_F(HostInformationOnSimHost, UnknownVersionIdIsLogged) {
  EXPECT_EQ(Info::GetVersionString(5), "N/A");
  EXPECT_EQ(Info::GetVersionString(0), "N/A");
  EXPECT_NE(Syslog().find("user.err Invalid version id: 5 requested"), std::string::npos);
  EXPECT_NE(Syslog().find("user.err Invalid version id: 0 requested"), std::string::npos);
}

TEST_F(HostInformationOnSimHost, UnreadableHostGivesFallbacksAndLogs) {
  // A state file that cannot be parsed makes every host call throw.
  std::ofstream(Path("/host.json"), std::ios::trunc) << "{ not json";
  EXPECT_EQ(TextArea::GetBIOSVersion(), "N/A");
  EXPECT_NE(Syslog().find("user.err Get BIOS version string failed, err="), std::string::npos)
      << Syslog();
  EXPECT_EQ(TextArea::GetIpValue(), "0.0.0.0");
  EXPECT_EQ(TextArea::GetHostnameValue(), "");
  EXPECT_EQ(TextArea::GetSystemMemory(), "N/A");
  EXPECT_EQ(TextArea::GetServiceTag(), "N/A");
  EXPECT_EQ(TextArea::GetTarvikVersion(), "");
}

}  // namespace
