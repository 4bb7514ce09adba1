#include "DurableFile.h"

#include <cerrno>
#include <cstring>

namespace Platform {

bool WriteFileDurably(const std::string& path,
                      const std::string& content,
                      mode_t mode,
                      std::string& error) {
  if (merel_write_file(path.c_str(), content.data(), content.size(), mode) != 0) {
    error = path + ": cannot write: " + std::strerror(errno);
    return false;
  }
  return true;
}

}  // namespace Platform
