// The en_US string table: the texts of Strings.def by number, and the one
// text the host supplies.
#include "StringFactory.h"

#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include "Platform.h"

namespace Merel {

namespace {

StringFactory* instance = nullptr;

// Key 2, the product line of the welcome screen. The host's version does not
// change under a running console, so it is asked for once. A failed query is
// not remembered: the line stays empty until a later request succeeds.
const char* ProductLine() {
  static std::string* cached = nullptr;
  if (cached != nullptr) {
    return cached->c_str();
  }
  std::string line;
  if (!Platform::ProductLine(line)) {
    return "";
  }
  // Never destroyed: the text is handed out for the life of the process.
  cached = new std::string(std::move(line));
  return cached->c_str();
}

}  // namespace

// The texts by key, from the same list as the keys.
constexpr const char* kTexts[] = {
#define TEXT(key, text) text,
#include "Strings.def"
#undef TEXT
};
static_assert(std::size(kTexts) == Strings::kKeyCount);

const char* en_US_Factory::GetString(uint32_t key) {
  if (key == Strings::kWelcomeProductLine) {
    return ProductLine();
  }
  return key < std::size(kTexts) ? kTexts[key] : "";
}

StringFactory* GetStringFactory(const char* locale) {
  if (instance != nullptr) {
    return instance;
  }
  if (locale != nullptr && strcmp(locale, "en_US") == 0) {
    instance = new en_US_Factory();
  }
  return instance;
}

}  // namespace Merel
