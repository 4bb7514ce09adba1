// The restart of the management agents. The agents' service script is run
// step by step with each step on screen while it runs; the optional live
// core of mgmtd is collected in parallel by a detached thread, because
// taking it can last much longer than the restart and nobody waits for it.
#include "RestartAgentsDialog.h"

#include <pthread.h>
#include <syslog.h>

#include <cstring>
#include <memory>
#include <vector>

#include "Command.h"
#include "HostCtl/HostCtlException.h"
#include "NexCtl/NexCtlExec.h"
#include "NexCtl/SystemInfoImpl.h"
#include "Platform.h"
#include "StringFactory.h"
#include "Terminal.h"

namespace Merel {

namespace {

constexpr int kWidth = 71;
constexpr int kHeight = 20;
constexpr int kTitleHeight = 9;
constexpr int kSpace = ' ';

}  // namespace

RestartAgentsDialog::RestartAgentsDialog(Frame* parent)
    : Dialog(parent, kWidth, kHeight, kTitleHeight) {
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

void* RestartAgentsDialog::GenerateMgmtdLiveCore(void*) {
  try {
    Platform::Syslog(LOG_INFO, "%s", "Executing nexbacktrace -c against mgmtd");
    const int status = NexCtl::Util::NexCtl_Exec(
        "/sbin/nexbacktrace -w -n mgmtd -o mgmtd-restart% -d /var/log/", false, true, false);
    if (status == 0) {
      NexCtl::System::SystemInfoImpl().SetSystemAlert("Mgmtd core dump completed");
    } else {
      Platform::Syslog(LOG_ERR, "nexbacktrace failed, probably mgmtd was down");
    }
  } catch (const HostCtl::Lib::HostCtlException& e) {
    Platform::Syslog(LOG_ERR, "%s", e.what());
  }
  return nullptr;
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
  Platform::Syslog(LOG_INFO, "%s", "Restarting host agents");
  PostObsv("obsv.user.merel.restarting.hostagents", "Restarting host agents");
  if (_collect->IsChecked()) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    // Nothing ever joins it: it ends on its own, after the dialog is gone.
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    const int error = pthread_create(&thread, &attributes, GenerateMgmtdLiveCore, nullptr);
    pthread_attr_destroy(&attributes);
    if (error != 0) {
      Platform::Syslog(LOG_ERR, "failed to create live core generation thread: %s",
                       strerror(error));
    } else {
      // Reported done at once: the collection goes on while the agents
      // restart, and the restart does not wait for it.
      FinishStep(_strings->GetString(Strings::kCollectingLiveCore));
    }
  }
  const std::string stopping = _strings->GetString(Strings::kStoppingAgents);
  const std::string starting = _strings->GetString(Strings::kStartingAgents);
  // The script's result is not examined: a half-stopped agent is restarted
  // by the start step anyway, and the user can only try again.
  auto run = [](const char* line) {
    try {
      NexCtl::Util::NexCtl_Exec(line, false, true, false);
    } catch (const HostCtl::Lib::HostCtlException& e) {
      Platform::Syslog(LOG_ERR, "%s", e.what());
    }
  };
  ShowSteps(stopping);
  run("/bin/sh /sbin/services.sh stop");
  FinishStep(stopping);
  ShowSteps(starting);
  run("/bin/sh /sbin/services.sh start");
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
  while (true) {
    const int key = Frame::WaitForKey(this, true);
    if (key == kKeyEscape) {
      return 0;
    }
    if (key == kSpace) {
      _collect->SetChecked(!_collect->IsChecked());
      _list->DrawItems();
    } else if (key == KEY_F(11)) {
      break;
    }
  }
  Restart();
  while (Frame::WaitForKey(this, true) != kKeyEnter) {
  }
  return 1;
}

}  // namespace Merel
