// Every fixed text of the console, by number. Screens hold keys; the one
// process-wide table turns a key into text.
#pragma once

#include <cstdint>

namespace Merel {

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
