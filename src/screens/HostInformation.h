// The host information behind the markup variables ({hostname}, {ip},
// {memory}, ...), and the pieces of it worth checking on their own: memory
// units and formats, the parsing of the tools' output, the firmware-version
// routine and the cache of the values that cost a child process.
#pragma once

#include <cstdint>
#include <string>

#include "TextArea.h"

namespace Merel::HostInformation {

// The getters, one per markup variable. None of them throws: a value that
// cannot be read is "N/A", "0.0.0.0" or "" as each one says.
std::string GetHostnameValue();              // "hostname": name[.domain]
std::string GetIpValue();                    // "ip": management IPv4, "0.0.0.0"
std::string GetSSLThumbprintValue();         // "ssl-thumbprint": SHA-1, ""
std::string GetSSHRsaKeyFingerprintValue();  // "ssh-rsa-fingerprint", ""
std::string GetSSHDsaKeyFingerprintValue();  // "ssh-dsa-fingerprint", ""
std::string GetSystemMemory();               // "memory": "31.9 GB", "N/A"
std::string GetTarvikProduct();              // "tarvikproduct", ""
std::string GetTarvikVersion();              // "tarvikversion": "<v> build-<n>", ""
std::string GetServiceTag();                 // "servicetag", "N/A"
std::string GetAssetTag();                   // "assettag", "N/A"
std::string GetBIOSVersion();                // "BIOSversion", "N/A"
std::string GetBMCVersion();                 // "BMCversion", "N/A"
std::string GetCPLDVersion();                // "CPLDversion": always "N/A"
std::string GetPLSAVersion();                // "PLSAversion", "N/A"

// Variable name -> getter, for every variable above.
const TextArea::VariableTable& Variables();
// Makes the table above the one every text area uses. The screens do this
// before they draw anything; doing it again changes nothing.
void InstallVariables();

// The unit memory is shown in: MiB, raised by factors of 1024 while the next
// unit still fits, up to PiB.
struct MemoryUnit {
  uint64_t size;  // bytes per unit
  char letter;    // 'M', 'G', 'T' or 'P'
};
MemoryUnit ChooseMemoryUnit(uint64_t bytes);

// The "memory" variable: whole units, then "." and the first decimal digit
// (truncated) when there is a remainder, " ", the letter and "B": "31.9 GB".
std::string FormatMemory(uint64_t bytes);

// The fingerprint out of `openssl x509 -noout -fingerprint -sha1` output;
// empty when the output is not such a line.
std::string ParseSslFingerprint(const std::string& output);
// The fingerprint field out of `ssh-keygen -l -f FILE` output
// ("3072 SHA256:xxxx comment (RSA)" -> "SHA256:xxxx"); empty when missing.
std::string ParseSshFingerprint(const std::string& output);

// Firmware and tag fields by version id.
enum VersionId : int {
  kVersionPLSA = 1,      // storage adapter "hba0"
  kVersionBMC = 2,       // management controller
  kVersionBIOS = 3,      // "<vendor> (<major>.<minor>) <version>"
  kVersionAssetTag = 4,  // asset tag
};
// The value for `id`, or "N/A" (unknown id, host-library failure, empty).
std::string GetVersionString(int id);

// The certificate thumbprint and the SSH key fingerprints start a program on
// every draw of a text that names them, so a value once read successfully is
// kept for the life of the process (the files only change with a reboot or a
// configuration reset, and both restart the console). Failures are not kept:
// a later draw tries again. Tests that switch hosts forget the kept values.
void ForgetCachedValues();

}  // namespace Merel::HostInformation
