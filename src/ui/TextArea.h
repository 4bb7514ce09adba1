// A window that shows one markup string: colour and background tags,
// alignment and padding, host-information variables, word wrapping.
// Laying out is a pure function of (text, width, variables) so it can be
// checked without a terminal; drawing writes the laid-out text with curses.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "Window.h"

namespace Merel {

class TextArea : public Window {
 public:
  using Getter = std::string (*)();
  using VariableTable = std::map<std::string, Getter>;

  TextArea(Window* parent, int x, int y, int width, int height, int foreground);

  void SetText(const char* text);
  void SetText(const std::string& text);
  void AppendText(const char* text);
  void AppendText(const std::string& text);
  void Draw(bool active) override;
  const std::string& GetText() const { return _text; }
  // Replaces the variable table (tests and fuzzing use fake getters).
  void SetVariables(VariableTable variables) { _variables = std::move(variables); }

  // The layout pass: alignment, variables and wrapping; colour tags pass through.
  static std::string Layout(const std::string& text, int width, const VariableTable& variables);
  // The table every text area is built with (name -> getter below).
  static const VariableTable& DefaultVariables();
  static const std::map<std::string, int>& ColorTable();

  // Host information, bound to the markup variables. Never throw.
  static std::string GetIpValue();
  static std::string GetSSLThumbprintValue();
  static std::string GetSSHDsaKeyFingerprintValue();
  static std::string GetSSHRsaKeyFingerprintValue();
  static std::string GetHostnameValue();
  static std::string GetTarvikProduct();
  static std::string GetTarvikVersion();
  static std::string GetSystemMemory();
  static std::string GetServiceTag();
  static std::string GetAssetTag();
  static std::string GetBIOSVersion();
  static std::string GetBMCVersion();
  static std::string GetCPLDVersion();
  static std::string GetPLSAVersion();

 private:
  void Render();
  void DrawLaidOut(const std::string& laidOut);

  std::string _text;
  VariableTable _variables;
};

}  // namespace Merel
