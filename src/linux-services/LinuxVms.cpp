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

// The running domains; the caller frees each and the array.
int ListRunning(virConnectPtr conn, virDomainPtr** domains) {
  return virConnectListAllDomains(conn, domains, VIR_CONNECT_LIST_DOMAINS_ACTIVE);
}

}  // namespace

int StopVirtualMachines(const std::string& uri, bool force, std::string& error) {
  Connection conn(uri);
  if (!conn.Get()) {
    error = LastError();
    return -1;
  }
  virDomainPtr* domains = nullptr;
  const int count = ListRunning(conn.Get(), &domains);
  if (count < 0) {
    error = LastError();
    return -1;
  }
  int handled = 0;
  for (int i = 0; i < count; ++i) {
    if ((force ? virDomainDestroy(domains[i]) : virDomainShutdown(domains[i])) == 0)
      ++handled;
    virDomainFree(domains[i]);
  }
  free(domains);
  return handled;
}

int RunningVirtualMachines(const std::string& uri,
                           std::vector<std::string>& names,
                           std::string& error) {
  names.clear();
  Connection conn(uri);
  if (!conn.Get()) {
    error = LastError();
    return -1;
  }
  virDomainPtr* domains = nullptr;
  const int count = ListRunning(conn.Get(), &domains);
  if (count < 0) {
    error = LastError();
    return -1;
  }
  for (int i = 0; i < count; ++i) {
    if (const char* name = virDomainGetName(domains[i]))
      names.push_back(name);
    virDomainFree(domains[i]);
  }
  free(domains);
  return count;
}

}  // namespace Platform::Linux
