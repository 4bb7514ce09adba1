// Every fixed text of the console, by number. Screens hold keys; the one
// process-wide table turns a key into text.
#pragma once

#include <cstdint>

namespace Merel {

// The keys of the string table, by what each text is for, made from
// Strings.def (one line a text, in key order): grepping a text on screen
// leads to its name there, and the name to every place that shows it.
// Written Strings::kMenuTitle at the use.
namespace Strings {
enum Key : uint32_t {
#define TEXT(key, text) key,
#include "Strings.def"
#undef TEXT
  kKeyCount  // not a text: one past the last key
};
// The numbers are the table's own: a text inserted or removed in the middle
// of the list would renumber every key after it.
static_assert(kMerelTimeoutLabel == 274, "Strings.def: add new texts at the end");
}  // namespace Strings

class StringFactory {
 public:
  virtual ~StringFactory() = default;
  // Never null; valid for the life of the process.
  virtual const char* GetString(uint32_t key) = 0;
};

class en_US_Factory : public StringFactory {
 public:
  const char* GetString(uint32_t key) override;
};

// The table for "en_US" (created on first request, never destroyed); once it
// exists it is returned for any name; before that, null for other names.
StringFactory* GetStringFactory(const char* locale);

}  // namespace Merel
