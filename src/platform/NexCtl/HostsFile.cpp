#include "NexCtl/HostsFile.h"

#include <unistd.h>

#include <strings.h>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "DurableFile.h"
#include "FacadeSupport.h"

namespace NexCtl::Network {

namespace {

std::vector<std::string> ReadLines(const std::string& path) {
  std::ifstream in(path);
  if (!in) {
    Platform::Fail(path + ": cannot read: " + std::strerror(errno));
  }
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(in, line))
    lines.push_back(line);
  return lines;
}

void WriteLines(const std::string& path, const std::vector<std::string>& lines) {
  std::string content;
  for (const auto& line : lines)
    content += line + "\n";
  std::string error;
  if (!Platform::WriteFileDurably(path, content, 0644, error))
    Platform::Fail(error);
}

std::string FormatLine(const std::string& address, const std::vector<std::string>& names) {
  Platform::FailIfInjected("HostsFile.AddEntry");
  std::string line = address;
  for (const auto& name : names)
    line += "\t" + name;
  return line;
}

bool ParseLine(const std::string& line, HostsFile::Entry& entry) {
  std::istringstream fields(line.substr(0, line.find('#')));
  entry = {};
  if (!(fields >> entry.address))
    return false;
  std::string name;
  while (fields >> name)
    entry.names.push_back(name);
  return !entry.names.empty();
}

}  // namespace

HostsFile::HostsFile() : _path(Platform::HostPath("/etc/hosts")) {}

std::vector<HostsFile::Entry> HostsFile::GetEntries() {
  Platform::FailIfInjected("HostsFile.GetEntries");
  std::vector<Entry> entries;
  for (const auto& line : ReadLines(_path)) {
    Entry entry;
    if (ParseLine(line, entry))
      entries.push_back(entry);
  }
  return entries;
}

void HostsFile::AddEntry(const std::string& address, const std::vector<std::string>& names) {
  auto lines = ReadLines(_path);
  lines.push_back(FormatLine(address, names));
  WriteLines(_path, lines);
}

void HostsFile::RemoveEntryByHostName(const std::string& hostname) {
  Platform::FailIfInjected("HostsFile.RemoveEntryByHostName");
  std::vector<std::string> kept;
  for (const auto& line : ReadLines(_path)) {
    Entry entry;
    if (!ParseLine(line, entry)) {
      kept.push_back(line);
      continue;
    }
    std::vector<std::string> names;
    for (const auto& name : entry.names) {
      if (strcasecmp(name.c_str(), hostname.c_str()) != 0)
        names.push_back(name);
    }
    if (names.size() == entry.names.size()) {
      kept.push_back(line);
    } else if (!names.empty()) {
      kept.push_back(FormatLine(entry.address, names));
    }
  }
  WriteLines(_path, kept);
}

}  // namespace NexCtl::Network
