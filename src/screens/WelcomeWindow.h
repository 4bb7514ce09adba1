// The screen shown whenever nobody is logged in: product and hardware on the
// upper half, how to reach the host on the lower half, <F2>/<F12> in the
// footer. Its key loop is the program's main loop: it runs the login and the
// session, and records the end of every session.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Frame.h"

namespace Merel {

class StringFactory;
class TextArea;

class WelcomeWindow : public Frame {
 public:
  // The root frame: no parent.
  // The first screen of `session`, which main owns.
  WelcomeWindow(Session& session, int x, int y, int width, int height);
  ~WelcomeWindow() override;

  int Loop() override;
  // A smart-card event: the host may have changed under us; lay out again.
  void Update() override;

  // What the lower half says about reaching the host.
  struct ManagementAccess {
    bool hasInterface = false;      // a management interface was found
    std::string hostname;           // fully qualified; "" or "localhost" = none
    std::vector<std::string> ipv4;  // "0.0.0.0" never appears here
    std::vector<std::string> ipv6;  // preferred, not link-local
    bool dhcpLookupFailed = false;  // IPv4 by DHCP, yet no address at all
  };
  // The address area's markup for `access` in an area of `width` x `height`.
  static std::string ComposeAddressText(const ManagementAccess& access,
                                        int width,
                                        int height,
                                        StringFactory* strings);
  // The upper half's memory form: "31.9 GiB Memory", "8 GiB Memory".
  static std::string FormatMemory(uint64_t bytes);

 private:
  void Layout();
  void LayOutMessage(const std::string& message);
  void LayOutStandard();
  void DeleteStandardLayout();
  void DeleteMessageLayout();
  std::string ComposeUpperText();
  ManagementAccess ReadManagementAccess();

  // The login dialog; false when nobody was authenticated.
  bool LogIn();
  // Runs `session` for the user just logged in and ends the session the way
  // every session ends (log, audit, flag, pending restart).
  void RunSession(const std::function<void()>& session);

  // Custom welcome message layout.
  TextArea* _messageArea = nullptr;
  // Standard layout (the text areas are owned by the two halves).
  Window* _upper = nullptr;
  Window* _lower = nullptr;
  TextArea* _upperText = nullptr;
  TextArea* _addressText = nullptr;
  TextArea* _footerText = nullptr;
};

}  // namespace Merel
