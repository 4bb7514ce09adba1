// The restart of the management agents, each step on screen while it runs
// (the steps themselves are HostServices').
#include "RestartAgentsDialog.h"

#include <memory>
#include <vector>

#include "HostServices.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr DialogSize kSize{71, 20, 9};
constexpr int kSpace = ' ';

}  // namespace

RestartAgentsDialog::RestartAgentsDialog(Frame* parent) : Dialog(parent, kSize) {
  if (_contentWindow == nullptr) {
    return;
  }
  const int width = _contentWindow->GetWidth();
  const int height = _contentWindow->GetHeight();
  _text =
      &_contentWindow->AddChild<TextArea>(0, 0, width, height - 2, _contentWindow->GetForeground());
  _list = &_contentWindow->AddChild<ItemList>(0, height - 1, width, 1);
  auto collect = std::make_unique<CheckItem>(_strings->GetString(Strings::kCollectLiveCore), false);
  _collect = collect.get();
  std::vector<std::unique_ptr<Item>> items;
  items.push_back(std::move(collect));
  _list->SetItems(std::move(items));
}

void RestartAgentsDialog::ShowSteps(const std::string& current) {
  std::string text = "{color:dark-grey}" + _finished + "{/color}";
  if (!current.empty()) {
    text += "{color:black}" + current + "{/color}";
  }
  _text->SetText(text);
  // The step must be on screen while its script runs, not after.
  Window::UpdateTerminal();
}

void RestartAgentsDialog::FinishStep(const std::string& step) {
  _finished += step + " " + _strings->GetString(Strings::kDone) + "\n";
}

void RestartAgentsDialog::Restart() {
  SetFooter("");
  _list->Clear();
  _list->Refresh();
  AnnounceAgentRestart();
  // Reported done at once: the collection goes on while the agents
  // restart, and the restart does not wait for it.
  if (_collect->IsChecked() && StartLiveCoreCollection()) {
    FinishStep(_strings->GetString(Strings::kCollectingLiveCore));
  }
  const std::string stopping = _strings->GetString(Strings::kStoppingAgents);
  const std::string starting = _strings->GetString(Strings::kStartingAgents);
  ShowSteps(stopping);
  StopAgents();
  FinishStep(stopping);
  ShowSteps(starting);
  StartAgents();
  FinishStep(starting);
  ShowSteps("");
  SetFooter(kOkFooter);
}

int RestartAgentsDialog::Loop() {
  SetTitle(_strings->GetString(Strings::kRestartAgentsConfirmTitle));
  SetText(_strings->GetString(Strings::kRestartAgentsWarning));
  SetFooter(kF11OkCancelFooter);
  Window::ShowCursor(false);
  if (_text == nullptr) {
    return 0;
  }
  _text->SetText(_strings->GetString(Strings::kRestartAgentsQuestion));
  _list->DrawItems();
  const bool confirmed = WaitForKeyOrEscape(KEY_F(11), true, [this](int key) {
    if (key == kSpace) {
      _collect->SetChecked(!_collect->IsChecked());
      _list->DrawItems();
    }
  });
  if (!confirmed) {
    return 0;
  }
  Restart();
  WaitForEnter();
  return 1;
}

}  // namespace Merel
