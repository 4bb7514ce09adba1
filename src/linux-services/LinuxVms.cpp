#include "backends/LinuxVms.h"

#include <libvirt/libvirt.h>
#include <libvirt/virterror.h>

#include <chrono>
#include <cstdlib>
#include <thread>

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

// Calls `each` with every running domain of `conn` (freed afterwards); the
// number of domains, or -1 with the reason in `error`.
template <typename Each>
int ForEachRunning(virConnectPtr conn, std::string& error, Each each) {
  virDomainPtr* domains = nullptr;
  const int count =
      conn ? virConnectListAllDomains(conn, &domains, VIR_CONNECT_LIST_DOMAINS_ACTIVE) : -1;
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

int StopVirtualMachines(const std::string& uri,
                        bool force,
                        int waitSeconds,
                        std::vector<VmStop>& outcome,
                        std::string& error) {
  outcome.clear();
  // One connection for the requests and the wait: the domains are watched
  // through the same hypervisor that was asked.
  Connection conn(uri);
  std::vector<bool> asked;
  const int count = ForEachRunning(conn.Get(), error, [&](virDomainPtr domain) {
    const char* name = virDomainGetName(domain);
    VmStop stop{name ? name : "", false};
    if (force)
      stop.stopped = virDomainDestroy(domain) == 0;
    asked.push_back(!force && virDomainShutdown(domain) == 0);
    outcome.push_back(stop);
  });
  if (count < 0)
    return -1;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(waitSeconds);
  for (;;) {
    bool waiting = false;
    for (size_t i = 0; i < outcome.size(); ++i) {
      if (outcome[i].stopped || !asked[i])
        continue;
      virDomainPtr domain = virDomainLookupByName(conn.Get(), outcome[i].name.c_str());
      // A domain that is gone altogether (a transient one) has stopped too.
      outcome[i].stopped = domain == nullptr || virDomainIsActive(domain) == 0;
      if (domain)
        virDomainFree(domain);
      waiting = waiting || !outcome[i].stopped;
    }
    if (!waiting || std::chrono::steady_clock::now() >= deadline)
      break;
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
  }
  int stopped = 0;
  for (const auto& stop : outcome)
    stopped += stop.stopped ? 1 : 0;
  return stopped;
}

int RunningVirtualMachines(const std::string& uri,
                           std::vector<std::string>& names,
                           std::string& error) {
  names.clear();
  Connection conn(uri);
  return ForEachRunning(conn.Get(), error, [&](virDomainPtr domain) {
    if (const char* name = virDomainGetName(domain))
      names.push_back(name);
  });
}

}  // namespace Platform::Linux
