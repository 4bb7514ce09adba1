// The host information behind the markup variables ({hostname}, {ip},
// {memory}, ...). Every getter answers with a string and never throws: a
// value that cannot be read becomes "N/A", "0.0.0.0" or "" so that a text
// naming it still draws.
#include "HostInformation.h"

#include <syslog.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <sstream>
#include <vector>

#include "Command.h"
#include "NexCtl/Host.h"
#include "HostCtl/HostCtlException.h"
#include "HostCtl/Ipv4Address.h"
#include "HostCtl/Misc.h"
#include "NexCtl/DnsConfigImpl.h"
#include "NexCtl/HardwareInfoImpl.h"
#include "NexCtl/MemoryInfoImpl.h"
#include "NexCtl/NetworkInfoImpl.h"
#include "NexCtl/SysinfoUtil.h"
#include "Platform.h"
#include "TextArea.h"

namespace Merel {

namespace HostInformation {

namespace {

const char kNotAvailable[] = "N/A";
const char kNetStack[] = "defaultNetStack";
const char kOpensslPath[] = "/bin/openssl";
const char kHostCertificate[] = "/etc/ostrel/ssl/host.crt";
const char kSshKeygen[] = "ssh-keygen";
const char kSshRsaKey[] = "/etc/ssh/ssh_host_rsa_key";
const char kSshDsaKey[] = "/etc/ssh/ssh_host_dsa_key";
// The tools answer at once; the limit only guards against a hung child
// freezing the console, which waits for it on the main thread.
constexpr int kToolTimeoutSeconds = 30;
// What the tools print is one short line; 255 bytes of each stream are kept.
constexpr size_t kToolOutputCapacity = 255;

struct ToolResult {
  int status = -1;
  std::string out;
  std::string err;
};

ToolResult RunTool(const char* path, std::vector<std::string> args) {
  std::vector<char*> argv;
  for (std::string& arg : args) {
    argv.push_back(arg.data());
  }
  argv.push_back(nullptr);
  char out[kToolOutputCapacity + 1];
  char err[kToolOutputCapacity + 1];
  size_t outSize = kToolOutputCapacity;
  size_t errSize = kToolOutputCapacity;
  ToolResult result;
  result.status =
      RunCommand(path, argv.data(), out, &outSize, err, &errSize, nullptr, 0, kToolTimeoutSeconds);
  result.out.assign(out, outSize);
  result.err.assign(err, errSize);
  return result;
}

std::optional<std::string> cachedThumbprint;
std::optional<std::string> cachedRsaFingerprint;
std::optional<std::string> cachedDsaFingerprint;

// One routine for both host keys. Successful values are kept (see
// ForgetCachedValues).
std::string SshKeyFingerprint(const char* keyFile, std::optional<std::string>& cache) {
  if (cache) {
    return *cache;
  }
  // The key file is an argument, not the program: the command runner maps
  // only the program path to the host, so the file is resolved here or the
  // real ssh-keygen would read this machine's own key instead of the host's.
  ToolResult result = RunTool(kSshKeygen, {"ssh-keygen", "-l", "-f", Platform::HostPath(keyFile)});
  if (result.status != 0) {
    Platform::Syslog(LOG_INFO, "Error generating SSH Key Fingerprint: %s", result.err.c_str());
    return "";
  }
  std::string fingerprint = ParseSshFingerprint(result.out);
  if (!fingerprint.empty()) {
    cache = fingerprint;
  }
  return fingerprint;
}

// The kernel's system-version record; false when it cannot be read.
bool ReadVersionRecord(NexCtl::Util::SysinfoSystemVersion& record) {
  memset(&record, 0, sizeof(record));
  return NexCtl::Util::SysinfoUtil::SysinfoGet(record) == 0;
}

// A text field of that record, bounded in case it comes unterminated.
template <size_t N>
std::string RecordText(const char (&field)[N]) {
  return std::string(field, strnlen(field, N));
}

const char* VersionName(int id) {
  switch (id) {
    case kVersionPLSA:
      return "PLSA";
    case kVersionBMC:
      return "BMC";
    case kVersionBIOS:
      return "BIOS";
    case kVersionAssetTag:
      return "Asset Tag";
    default:
      return "unknown";
  }
}

}  // namespace

MemoryUnit ChooseMemoryUnit(uint64_t bytes) {
  static const char kLetters[] = "MGTP";
  MemoryUnit unit = {uint64_t{1} << 20, kLetters[0]};
  for (int i = 1; i < 4 && bytes / 1024 >= unit.size; ++i) {
    unit.size *= 1024;
    unit.letter = kLetters[i];
  }
  return unit;
}

std::string FormatMemory(uint64_t bytes) {
  const MemoryUnit unit = ChooseMemoryUnit(bytes);
  std::string text = std::to_string(bytes / unit.size);
  const uint64_t remainder = bytes % unit.size;
  if (remainder != 0) {
    // remainder < 2^50, so the product cannot overflow.
    text += "." + std::to_string(remainder * 10 / unit.size);
  }
  text += ' ';
  text += unit.letter;
  text += 'B';
  return text;
}

std::string ParseSslFingerprint(const std::string& output) {
  char fingerprint[256] = "";
  // The host's openssl labels the line "SHA1"; openssl 3 writes "sha1". Both
  // are the same fingerprint.
  if (sscanf(output.c_str(), "SHA1 Fingerprint=%255s", fingerprint) == 1 ||
      sscanf(output.c_str(), "sha1 Fingerprint=%255s", fingerprint) == 1) {
    return fingerprint;
  }
  return "";
}

std::string ParseSshFingerprint(const std::string& output) {
  // "<bits> <fingerprint> <comment> (<type>)": the second field.
  std::istringstream line(output);
  std::string bits;
  std::string fingerprint;
  if (line >> bits >> fingerprint) {
    return fingerprint;
  }
  return "";
}

std::string GetVersionString(int id) {
  if (id < kVersionPLSA || id > kVersionAssetTag) {
    Platform::Syslog(LOG_ERR, "Invalid version id: %d requested", id);
    return kNotAvailable;
  }
  std::string value;
  try {
    std::unique_ptr<HostCtl::Host> host = HostCtl::HostFactory::GetHost();
    const HostCtl::Hardware::HardwareInfo hardware = host->GetHardwareInfo();
    switch (id) {
      case kVersionBIOS: {
        const HostCtl::Hardware::BiosData& bios = hardware.bios;
        // A host that reports no BIOS at all would otherwise show " (0.0) ".
        if (!bios.vendor.empty() || !bios.version.empty()) {
          value = HostCtl::Misc::StrPrintf("%s (%d.%d) %s", bios.vendor.c_str(), bios.major,
                                           bios.minor, bios.version.c_str());
        }
        break;
      }
      case kVersionBMC:
        value = hardware.bmcVersion;
        break;
      case kVersionPLSA: {
        for (const auto& adapter : host->GetStorageInfo().adapters) {
          if (adapter.name != "hba0") {
            continue;
          }
          for (const auto& firmware : host->GetSystemInfo().adapters) {
            if (firmware.name == adapter.name) {
              value = firmware.version;
              break;
            }
          }
          break;
        }
        break;
      }
      case kVersionAssetTag:
        value = hardware.assetTag;
        break;
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "Get %s version string failed, err=%s", VersionName(id), e.what());
    return kNotAvailable;
  }
  return value.empty() ? kNotAvailable : value;
}

void ForgetCachedValues() {
  cachedThumbprint.reset();
  cachedRsaFingerprint.reset();
  cachedDsaFingerprint.reset();
}

std::string GetHostnameValue() {
  try {
    NexCtl::Network::DnsConfigImpl dns(kNetStack);
    const std::string domain = dns.GetDomain();
    const std::string hostname = dns.GetHostname();
    return domain.empty() ? hostname : hostname + "." + domain;
  } catch (const HostCtl::Lib::HostCtlException&) {
    return "";
  }
}

std::string GetIpValue() {
  HostCtl::Network::Ipv4Address address;
  try {
    NexCtl::Network::NetworkInfoImpl network;
    network.UpdateManagementInterface();
    std::unique_ptr<HostCtl::Network::NexNic> nic = network.GetManagementInterface();
    if (nic != nullptr) {
      address = nic->GetIpConfig().GetIpv4Address();
    }
  } catch (const HostCtl::Lib::HostCtlException&) {
    return HostCtl::Network::Ipv4Address().GetStringAddress();
  }
  return address.GetStringAddress();
}

std::string GetSSLThumbprintValue() {
  if (cachedThumbprint) {
    return *cachedThumbprint;
  }
  // The certificate is an argument, not the program: the command runner maps
  // only the program path to the host, so the file is resolved here or the
  // real openssl would look for it on this machine.
  ToolResult result =
      RunTool(kOpensslPath, {"openssl", "x509", "-in", Platform::HostPath(kHostCertificate),
                             "-noout", "-fingerprint", "-sha1"});
  if (result.status != 0) {
    return "";
  }
  std::string thumbprint = ParseSslFingerprint(result.out);
  if (!thumbprint.empty()) {
    cachedThumbprint = thumbprint;
  }
  return thumbprint;
}

std::string GetSSHRsaKeyFingerprintValue() {
  return SshKeyFingerprint(kSshRsaKey, cachedRsaFingerprint);
}

std::string GetSSHDsaKeyFingerprintValue() {
  return SshKeyFingerprint(kSshDsaKey, cachedDsaFingerprint);
}

std::string GetSystemMemory() {
  try {
    NexCtl::Hardware::MemoryInfoImpl memory;
    return FormatMemory(memory.GetTotalPages() * memory.GetPageSize());
  } catch (const HostCtl::Lib::HostCtlException&) {
    return kNotAvailable;
  }
}

std::string GetTarvikProduct() {
  NexCtl::Util::SysinfoSystemVersion record;
  if (!ReadVersionRecord(record)) {
    return "";
  }
  return RecordText(record.productName);
}

std::string GetTarvikVersion() {
  NexCtl::Util::SysinfoSystemVersion record;
  if (!ReadVersionRecord(record)) {
    return "";
  }
  return RecordText(record.productVersion) + " build-" + RecordText(record.buildNumber);
}

std::string GetServiceTag() {
  try {
    NexCtl::Hardware::HardwareInfoImpl hardware;
    const std::string tag = hardware.GetServiceTag();
    return tag.empty() ? kNotAvailable : tag;
  } catch (const HostCtl::Lib::HostCtlException&) {
    return kNotAvailable;
  }
}

std::string GetAssetTag() {
  return GetVersionString(kVersionAssetTag);
}

std::string GetBIOSVersion() {
  return GetVersionString(kVersionBIOS);
}

std::string GetBMCVersion() {
  return GetVersionString(kVersionBMC);
}

std::string GetCPLDVersion() {
  // The hardware this console runs on has no programmable logic device whose
  // version the host reports.
  return kNotAvailable;
}

std::string GetPLSAVersion() {
  return GetVersionString(kVersionPLSA);
}

const TextArea::VariableTable& Variables() {
  static const TextArea::VariableTable table = {
      {"ip", &GetIpValue},
      {"ssl-thumbprint", &GetSSLThumbprintValue},
      {"ssh-dsa-fingerprint", &GetSSHDsaKeyFingerprintValue},
      {"ssh-rsa-fingerprint", &GetSSHRsaKeyFingerprintValue},
      {"hostname", &GetHostnameValue},
      {"tarvikproduct", &GetTarvikProduct},
      {"tarvikversion", &GetTarvikVersion},
      {"memory", &GetSystemMemory},
      {"servicetag", &GetServiceTag},
      {"assettag", &GetAssetTag},
      {"BIOSversion", &GetBIOSVersion},
      {"BMCversion", &GetBMCVersion},
      {"CPLDversion", &GetCPLDVersion},
      {"PLSAversion", &GetPLSAVersion},
  };
  return table;
}

void InstallVariables() {
  TextArea::InstallVariables(Variables());
}

}  // namespace HostInformation

}  // namespace Merel
