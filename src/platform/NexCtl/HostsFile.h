#pragma once

#include <string>
#include <vector>

namespace NexCtl::Network {

// The host's /etc/hosts. Every call reads (and a change rewrites) the file;
// comments and unrelated lines are kept as they are.
class HostsFile {
 public:
  struct Entry {
    std::string address;
    std::vector<std::string> names;
  };

  HostsFile();
  const std::string& GetPath() const { return _path; }
  std::vector<Entry> GetEntries();
  void AddEntry(const std::string& address, const std::vector<std::string>& names);
  // Removes `hostname` from every entry; an entry left without names goes.
  void RemoveEntryByHostName(const std::string& hostname);

 private:
  std::string _path;
};

}  // namespace NexCtl::Network
