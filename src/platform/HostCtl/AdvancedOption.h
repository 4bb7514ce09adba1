// Host advanced options ("/UserVars/MerelTimeOut", ...).
#pragma once

#include <cstdint>
#include <string>

namespace HostCtl::Adv {

class AdvancedOption {
 public:
  explicit AdvancedOption(std::string name) : _name(std::move(name)) {}
  virtual ~AdvancedOption() = default;
  const std::string& GetName() const { return _name; }

 private:
  std::string _name;
};

class AdvancedIntegerOption : public AdvancedOption {
 public:
  AdvancedIntegerOption(std::string name,
                        int64_t value,
                        int64_t min,
                        int64_t max,
                        int64_t defaultValue)
      : AdvancedOption(std::move(name)),
        _value(value),
        _min(min),
        _max(max),
        _default(defaultValue) {}
  int64_t GetValue() const { return _value; }
  int64_t GetMin() const { return _min; }
  int64_t GetMax() const { return _max; }
  int64_t GetDefault() const { return _default; }

 private:
  int64_t _value, _min, _max, _default;
};

class AdvancedStringOption : public AdvancedOption {
 public:
  AdvancedStringOption(std::string name, std::string value)
      : AdvancedOption(std::move(name)), _value(std::move(value)) {}
  const std::string& GetValue() const { return _value; }

 private:
  std::string _value;
};

}  // namespace HostCtl::Adv
