#include "backends/LinuxVms.h"

#include <libvirt/libvirt.h>
#include <libvirt/virterror.h>

#include <cstdlib>

namespace Platform::Linux {

namespace {

// libvirt prints every error to standard error by default; the console's is
// the terminal (or /dev/null), and the caller reports the error itself.
void Quiet(void*, virErrorPtr) {}

class Connection {
 public:
  explicit Connection(const std::string& uri) {
    virSetErrorFunc(nullptr, Quiet);
    _conn = virConnectOpen(uri.empty() ? nullptr : uri.c_str());
  }
  ~Connection() {
    if (_conn)
      virConnectClose(_conn);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  virConnectPtr Get() const { return _conn; }

 private:
  virConnectPtr _conn = nullptr;
};

std::string LastError() {
  virErrorPtr error = virGetLastError();
  return error && error->message ? error->message : "libvirt is not available";
}

// Calls `each` with every running domain (freed afterwards); the number of
// domains, or -1 with the reason in `error`.
template <typename Each>
int ForEachRunning(const std::string& uri, std::string& error, Each each) {
  Connection conn(uri);
  virDomainPtr* domains = nullptr;
  const int count =
      conn.Get() ? virConnectListAllDomains(conn.Get(), &domains, VIR_CONNECT_LIST_DOMAINS_ACTIVE)
                 : -1;
  if (count < 0) {
    error = LastError();
    return -1;
  }
  for (int i = 0; i < count; ++i) {
    each(domains[i]);
    virDomainFree(domains[i]);
  }
  free(domains);
  return count;
}

}  // namespace

int StopVirtualMachines(const std::string& uri, bool force, std::string& error) {
  int handled = 0;
  const int count = ForEachRunning(uri, error, [&](virDomainPtr domain) {
    if ((force ? virDomainDestroy(domain) : virDomainShutdown(domain)) == 0)
      ++handled;
  });
  return count < 0 ? -1 : handled;
}

int RunningVirtualMachines(const std::string& uri,
                           std::vector<std::string>& names,
                           std::string& error) {
  names.clear();
  return ForEachRunning(uri, error, [&](virDomainPtr domain) {
    if (const char* name = virDomainGetName(domain))
      names.push_back(name);
  });
}

}  // namespace Platform::Linux
