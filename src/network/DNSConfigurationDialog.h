// DNS servers and hostname of the management network: from DHCP, or two
// fixed servers (IPv4 or IPv6) and a hostname typed in here.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "DialogFields.h"
#include "FormDialog.h"
#include "HostCtl/IpAddress.h"

namespace Merel {

class DNSConfigurationDialog : public FormDialog {
 public:
  // Selection indices of the fields.
  enum : int { kPrimaryField = 2, kAlternateField = 3, kHostnameField = 4 };

  // `primary` and `alternate` may be null (no server); the dialog keeps
  // copies of its own.
  DNSConfigurationDialog(Frame* parent, bool automatic, bool usingDhcp,
                         const HostCtl::Network::IpAddress* primary,
                         const HostCtl::Network::IpAddress* alternate,
                         const std::string& hostname);
  bool GetAutomatic() const { return _automatic; }
  const HostCtl::Network::IpAddress* GetPrimary() const { return _primary.get(); }
  const HostCtl::Network::IpAddress* GetAlternate() const { return _alternate.get(); }
  const std::string& GetHostname() const { return _hostname; }

  // The first field, in screen order, that cannot be used: a server field
  // whose text is neither empty nor a usable IPv4 or IPv6 name server, or a
  // hostname that is not empty and not a valid name; nothing when all are
  // usable.
  static std::optional<FieldError> Check(const std::string& primary,
                                         const std::string& alternate,
                                         const std::string& hostname = "");
  // The server a field's text stands for: none when empty, IPv6 when the
  // text is an IPv6 address, else IPv4. The text must have passed Check.
  static std::unique_ptr<HostCtl::Network::IpAddress> ServerOf(const std::string& text);

 private:
  // Space on a choice (row 0 automatic, row 1 manual) marks it alone.
  void Mark(int row) override;
  // The alternate server's label goes back to the plain one while typing.
  void Edited(int field) override;
  // The list position of selection index `selection` (the spacer has none).
  static int ListIndex(int selection);
  bool Finish() override;

  bool _automatic;
  std::unique_ptr<HostCtl::Network::IpAddress> _primary;
  std::unique_ptr<HostCtl::Network::IpAddress> _alternate;
  std::string _hostname;
  RadioItem* _radios[2] = {};
  InputItem* _fields[3] = {};  // primary, alternate, hostname; owned by _list
};

}  // namespace Merel
