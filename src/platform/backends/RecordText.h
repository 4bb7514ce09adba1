// How values are written into the simulated host's record logs (audit.log,
// obsvd.log, tools.log, syslog.log). One record is one line and its fields
// are separated by spaces, so a value that came from a user (a login name,
// a command argument) must never be able to end the line or start a field
// of its own: "root success=1" is one user name, not a user and a verdict.
#pragma once

#include <string>
#include <string_view>

namespace Platform {

// A field value (the right of "name=value", or a word of a command line):
// as it is when it is non-empty and holds nothing but printable characters
// other than space, '"', '\' (and '=' when `equalsIsPlain` is false);
// otherwise in double quotes with '"' and '\' escaped by '\' and control
// characters as \n, \r, \t or \xHH. Bytes from 0x80 up (UTF-8) stay as they
// are.
std::string QuoteRecordValue(std::string_view value, bool equalsIsPlain = false);

// A field name or record name: letters, digits, '.', '_' and '-' stay,
// anything else becomes '_'; empty becomes "_".
std::string RecordToken(std::string_view token);

// Free text that runs to the end of the line (an event's message): '\' and
// control characters escaped as in QuoteRecordValue, nothing quoted.
std::string EscapeRecordText(std::string_view text);

// Free text for the syslog file: control characters become "#" and three
// octal digits ("#012" for a line feed), as a syslog daemon stores them.
std::string EscapeSyslogText(std::string_view text);

}  // namespace Platform
