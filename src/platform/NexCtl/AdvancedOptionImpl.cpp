#include "NexCtl/AdvancedOptionImpl.h"

#include "FacadeSupport.h"

namespace NexCtl::Adv {

std::unique_ptr<HostCtl::Adv::AdvancedOption> AdvancedOptionImpl::FindOption(
    const std::string& name) {
  Platform::HostState state = Platform::LoadHost("AdvancedOptionImpl.FindOption");
  const Platform::AdvancedOptionState* option = Platform::FindOption(state, name);
  if (!option) {
    return nullptr;
  }
  if (option->type == "int") {
    return std::make_unique<HostCtl::Adv::AdvancedIntegerOption>(
        option->name, option->value, option->min, option->max, option->defaultValue);
  }
  return std::make_unique<HostCtl::Adv::AdvancedStringOption>(option->name, option->stringValue);
}

void AdvancedOptionImpl::SetIntegerOption(const std::string& name, int64_t value) {
  Platform::ModifyHost("AdvancedOptionImpl.SetIntegerOption", [&](Platform::HostState& state) {
    Platform::AdvancedOptionState* option = Platform::FindOption(state, name);
    if (!option) {
      Platform::Fail("Advanced option '" + name + "' not found");
    }
    if (option->type != "int") {
      Platform::Fail("Advanced option '" + name + "' is not an integer option");
    }
    if (option->min <= option->max && (value < option->min || value > option->max)) {
      Platform::Fail("Value " + std::to_string(value) + " is out of range [" +
                     std::to_string(option->min) + ", " + std::to_string(option->max) +
                     "] for option '" + name + "'");
    }
    option->value = value;
  });
}

}  // namespace NexCtl::Adv
