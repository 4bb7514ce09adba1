#include "backends/RecordText.h"

#include <cstdio>

namespace Platform {

namespace {

bool IsControl(unsigned char c) {
  return c < 0x20 || c == 0x7f;
}

void AppendEscaped(std::string& out, unsigned char c) {
  switch (c) {
    case '\\':
      out += "\\\\";
      return;
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    default:
      break;
  }
  if (IsControl(c)) {
    char hex[5];
    std::snprintf(hex, sizeof(hex), "\\x%02x", c);
    out += hex;
  } else {
    out += static_cast<char>(c);
  }
}

}  // namespace

std::string QuoteRecordValue(std::string_view value, bool equalsIsPlain) {
  bool plain = !value.empty();
  for (unsigned char c : value) {
    if (IsControl(c) || c == ' ' || c == '"' || c == '\\' || (c == '=' && !equalsIsPlain)) {
      plain = false;
      break;
    }
  }
  if (plain)
    return std::string(value);
  std::string out = "\"";
  for (unsigned char c : value) {
    if (c == '"')
      out += "\\\"";
    else
      AppendEscaped(out, c);
  }
  return out + "\"";
}

std::string RecordToken(std::string_view token) {
  if (token.empty())
    return "_";
  std::string out;
  for (unsigned char c : token) {
    bool keep = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                c == '.' || c == '_' || c == '-';
    out += keep ? static_cast<char>(c) : '_';
  }
  return out;
}

std::string EscapeRecordText(std::string_view text) {
  std::string out;
  for (unsigned char c : text)
    AppendEscaped(out, c);
  return out;
}

std::string EscapeSyslogText(std::string_view text) {
  std::string out;
  for (unsigned char c : text) {
    if (IsControl(c)) {
      char octal[5];
      std::snprintf(octal, sizeof(octal), "#%03o", c);
      out += octal;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

}  // namespace Platform
