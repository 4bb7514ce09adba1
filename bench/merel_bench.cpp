// merel-bench: what the console costs a terminal. The real binary runs in a
// pseudo-terminal on a fresh simulated host per run; its output goes through
// libvterm, whose damage tells which cells really changed. For each terminal
// type it prints, per screen, the bytes sent per key, the cells changed per
// key, the bytes per changed cell and the key-to-quiet latency; then the first
// frame, the peak resident memory and the idle wake-ups. With dialog and
// whiptail installed, the same menu walk runs through them for comparison.
//
// It judges nothing: figures go to the screen and to a JSON file that a later
// run can be compared with (--compare OLD.json).
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "../tests/common/CommandOutput.h"
#include "Harness.h"

namespace {

using namespace MerelTest;
using Clock = std::chrono::steady_clock;
using nlohmann::json;

// Output silent this long ends a key's reply. Long enough for the console's
// own gaps between writes (a dialog is drawn in a few refreshes), short
// enough to keep a run within minutes.
constexpr milliseconds kQuiet(60);
constexpr milliseconds kIdleWindow(10000);
const std::vector<std::string> kTerms = {"linux", "vt102", "xterm", "xterm-256color"};

const char* const kDown = "\x1b[B";
const char* const kUp = "\x1b[A";
const char* const kPageDown = "\x1b[6~";
const char* const kPageUp = "\x1b[5~";
const char* const kEnter = "\r";
const char* const kEsc = "\x1b";
const char* const kF2 = "\x1bOQ";
const char* const kF4 = "\x1bOS";

struct Sample {
  size_t bytes = 0;
  int cells = 0;
  int clears = 0;  // clear-screen sequences among the bytes
  std::optional<double> latencyMs;  // none when the key drew nothing
};

struct ScreenFigures {
  std::vector<Sample> samples;

  json ToJson() const {
    size_t bytes = 0;
    long cells = 0;
    std::vector<double> latencies;
    for (const Sample& s : samples) {
      bytes += s.bytes;
      cells += s.cells;
      if (s.latencyMs) {
        latencies.push_back(*s.latencyMs);
      }
    }
    std::sort(latencies.begin(), latencies.end());
    auto percentile = [&](double p) -> json {
      if (latencies.empty()) {
        return nullptr;
      }
      const size_t at = static_cast<size_t>(p * static_cast<double>(latencies.size() - 1) + 0.5);
      return latencies[at];
    };
    const double keys = static_cast<double>(samples.size());
    return {{"keys", samples.size()},
            {"bytes", bytes},
            {"changedCells", cells},
            {"bytesPerKey", keys > 0 ? static_cast<double>(bytes) / keys : 0.0},
            {"cellsPerKey", keys > 0 ? static_cast<double>(cells) / keys : 0.0},
            {"bytesPerCell", cells > 0 ? json(static_cast<double>(bytes) / static_cast<double>(cells))
                                       : json(nullptr)},
            {"latencyP50Ms", percentile(0.5)},
            {"latencyP99Ms", percentile(0.99)}};
  }
};

// How often `output` clears the whole screen: the terminfo "clear" of every
// measured terminal type is home followed by erase-below or erase-all.
int CountClears(const std::string& output) {
  int count = 0;
  for (const char* clear : {"\x1b[H\x1b[J", "\x1b[H\x1b[2J"}) {
    for (size_t at = output.find(clear); at != std::string::npos;
         at = output.find(clear, at + 1)) {
      ++count;
    }
  }
  return count;
}

// One key: its bytes out, then the reply read until quiet. `until` is text
// the reply must show first (a dialog opened, the menu reached), so a slow
// draw with a pause inside is not cut in two.
Sample Press(Terminal& terminal, const std::string& bytes, const std::string& until = "") {
  terminal.WaitUntilQuiet(milliseconds(10));  // nothing of the last key left over
  terminal.MarkScreen();
  const size_t before = terminal.Raw().size();
  const auto lastBefore = terminal.LastOutputTime();
  const auto sent = Clock::now();
  terminal.Send(bytes);
  if (bytes == kEsc) {
    // The console can only tell a lone Esc once ESCDELAY has passed.
    std::this_thread::sleep_for(milliseconds(30));
  }
  if (!until.empty() && !terminal.WaitForText(until, milliseconds(15000))) {
    std::cerr << "merel-bench: no \"" << until << "\" on " << terminal.Options().term
              << ":\n" << terminal.Text() << "\n";
  }
  terminal.WaitUntilQuiet(kQuiet);
  Sample sample;
  sample.bytes = terminal.Raw().size() - before;
  sample.cells = terminal.ChangedCells();
  sample.clears = CountClears(terminal.Raw().substr(before));
  const auto last = terminal.LastOutputTime();
  if (sample.bytes > 0 && last != lastBefore && last >= sent) {
    sample.latencyMs = std::chrono::duration<double, std::milli>(last - sent).count();
  }
  return sample;
}

std::string ReadFileText(const std::string& path) {
  std::ifstream in(path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

long StatusField(const std::string& status, const std::string& field) {
  const size_t at = status.find(field + ":");
  return at == std::string::npos ? -1 : atol(status.c_str() + at + field.size() + 1);
}

// `merel-sim run` (and the fast-clock wrapper) replace themselves with the
// console, so the pid of the program started in the terminal is the console's
// once its name is "merel".
bool IsConsole(pid_t pid) {
  std::string comm = ReadFileText("/proc/" + std::to_string(pid) + "/comm");
  return comm == "merel\n";
}

long PeakResidentKiB(pid_t pid) {
  return StatusField(ReadFileText("/proc/" + std::to_string(pid) + "/status"), "VmHWM");
}

// Voluntary context switches of all the process's threads: each is a sleep
// that ended, i.e. a wake-up.
long VoluntarySwitches(pid_t pid) {
  const std::string dir = "/proc/" + std::to_string(pid) + "/task";
  long total = 0;
  if (DIR* tasks = opendir(dir.c_str())) {
    while (dirent* entry = readdir(tasks)) {
      if (entry->d_name[0] != '.') {
        total += StatusField(ReadFileText(dir + "/" + entry->d_name + "/status"),
                             "voluntary_ctxt_switches");
      }
    }
    closedir(tasks);
  }
  return total;
}

// A fresh host root, with the console keyboard answered as present when the
// row stands for the host's own console.
// A simulated host that does not know the flag yet refuses the whole file:
// then the flag is taken out again and the row runs as a remote "linux"
// terminal would (driven as vt102).
bool consoleKeyboardRefused = false;

std::unique_ptr<SimHost> NewHost(const std::string& term) {
  auto host = std::make_unique<SimHost>();
  if (term == "linux") {
    const json original = host->HostJson();
    json state = original;
    state["consoleKeyboard"] = true;
    host->WriteFile("/host.json", state.dump(2) + "\n");
    const std::string check =
        std::string(MEREL_SIM_BIN) + " show '" + host->Path("") + "' >/dev/null 2>&1";
    if (system(check.c_str()) != 0) {
      consoleKeyboardRefused = true;
      host->WriteFile("/host.json", original.dump(2) + "\n");
    }
  }
  return host;
}

std::unique_ptr<Terminal> StartConsole(SimHost& host,
                                       const std::string& term,
                                       std::map<std::string, std::string> env = {}) {
  TerminalOptions options;
  options.term = term;
  options.env = std::move(env);
  auto terminal = std::make_unique<Terminal>(options);
  terminal->TrackScreen();
  terminal->DropLinuxPaletteSequences(term == "linux");
  const std::string root = host.Path("");
  if (!terminal->Start({MEREL_SIM_BIN, "run", root})) {
    return nullptr;
  }
  return terminal;
}

// The first draw: everything until the screen has been quiet for a while.
Sample FirstFrame(Terminal& terminal) {
  const auto start = Clock::now();
  terminal.WaitFor([&] { return !terminal.Raw().empty(); }, milliseconds(15000));
  terminal.WaitUntilQuiet(milliseconds(300));
  Sample sample;
  sample.bytes = terminal.Raw().size();
  sample.cells = terminal.ChangedCells();
  sample.clears = CountClears(terminal.Raw());
  sample.latencyMs = std::chrono::duration<double, std::milli>(terminal.LastOutputTime() - start).count();
  return sample;
}

std::string RightTitle(const Terminal& terminal) {
  std::string text;
  for (int x = 42; x < 78; ++x) {
    text += terminal.CellAt(x, 1).text;
  }
  return text.erase(text.find_last_not_of(' ') + 1);
}

// Menu moves until `entry` is selected, each one measured as a menu key.
// False when this host's menu does not show the entry.
bool SelectEntry(Terminal& terminal, const std::string& entry, ScreenFigures& menu) {
  for (const char* key : {kDown, kUp}) {
    for (int i = 0; i < 16 && RightTitle(terminal) != entry; ++i) {
      const std::string before = RightTitle(terminal);
      menu.samples.push_back(Press(terminal, key));
      if (RightTitle(terminal) == before) {
        break;
      }
    }
  }
  return RightTitle(terminal) == entry;
}

struct TermResult {
  Sample firstFrame;
  std::map<std::string, ScreenFigures> screens;
  ScreenFigures menuMoves;  // the part of the walk that dialog and whiptail repeat
  // The first frame of each full-screen window, from the key that opens it.
  std::map<std::string, Sample> fullScreens;
  long peakKiB = -1;
  long idleWelcome = -1, idleDimmedMenu = -1;
  std::map<std::string, json> comparison;
};

// The menu at its fullest (every entry a host can show, and the separators
// as blank rows) for the comparison programs.
const std::vector<std::string> kComparisonMenu = {
    "Configure Password",         "Configure Lockdown Mode",      "",
    "Configure DriverVM Devices", "Configure Management Network", "Restart Management Network",
    "Test Management Network",    "Network Restore Options",      "",
    "Configure Keyboard",         "Troubleshooting Options",      "View System Logs",
    "View Support Information",   "Reset System Configuration"};

// The scripted walk, `reps` times in one console: the welcome screen, the
// login, menu moves, each dialog there is opened and closed, the log list,
// the log out.
void Walk(const std::string& term, int reps, TermResult& result) {
  auto host = NewHost(term);
  auto terminal = StartConsole(*host, term);
  if (!terminal) {
    return;
  }
  result.firstFrame = FirstFrame(*terminal);
  auto& s = result.screens;
  for (int rep = 0; rep < reps; ++rep) {
    s["welcome"].samples.push_back(Press(*terminal, kF4));
    s["welcome"].samples.push_back(Press(*terminal, kF4));
    s["login"].samples.push_back(Press(*terminal, kF2, "Authentication Required"));
    for (char c : std::string("merel")) {
      s["login"].samples.push_back(Press(*terminal, std::string(1, c)));
    }
    s["login"].samples.push_back(Press(*terminal, kEnter, "<Esc> Log Out"));
    for (int i = 0; i < 13; ++i) {
      result.menuMoves.samples.push_back(Press(*terminal, kDown));
    }
    for (int i = 0; i < 13; ++i) {
      result.menuMoves.samples.push_back(Press(*terminal, kUp));
    }
    auto& menu = s["menu"];
    menu.samples.insert(menu.samples.end(), result.menuMoves.samples.end() - 26,
                        result.menuMoves.samples.end());
    menu.samples.push_back(Press(*terminal, kPageDown));
    menu.samples.push_back(Press(*terminal, kPageUp));

    // The keyboard entry is there only on a console keyboard (TERM=xterm
    // without SSH, or the host's own console).
    if (SelectEntry(*terminal, "Configure Keyboard", menu)) {
      s["keyboard"].samples.push_back(Press(*terminal, kEnter, "If you are having"));
      for (const char* key : {kDown, kDown, kUp, kUp}) {
        s["keyboard"].samples.push_back(Press(*terminal, key));
      }
      s["keyboard"].samples.push_back(Press(*terminal, kEsc));
    }
    if (SelectEntry(*terminal, "View Support Information", menu)) {
      s["support information"].samples.push_back(Press(*terminal, kEnter));
      s["support information"].samples.push_back(Press(*terminal, kEsc));
    }
    if (SelectEntry(*terminal, "View System Logs", menu)) {
      s["log list"].samples.push_back(Press(*terminal, "1"));  // the pager takes over
      s["log list"].samples.push_back(Press(*terminal, "q"));
    }
    s["menu"].samples.push_back(Press(*terminal, kEsc, "<F2>"));
  }
  if (IsConsole(terminal->Pid())) {
    result.peakKiB = PeakResidentKiB(terminal->Pid());
  }
}

// What a frame costs on a 9600-baud line (ten bits a byte), in ms.
double At9600BaudMs(size_t bytes) {
  return static_cast<double>(bytes) * 10.0 / 9.6;
}

std::string LeftTitle(const Terminal& terminal) {
  std::string text;
  for (int x = 3; x < 40; ++x) {
    text += terminal.CellAt(x, 1).text;
  }
  return text.erase(text.find_last_not_of(' ') + 1);
}

// Esc until the menu is in front again.
void BackToMenu(Terminal& terminal) {
  for (int i = 0; i < 3 && LeftTitle(terminal) != "System Customization"; ++i) {
    Press(terminal, kEsc);
    terminal.WaitFor([&] { return LeftTitle(terminal) == "System Customization"; },
                     milliseconds(3000));
  }
}

// The first frame of every full-screen window: the welcome screen, the menu
// after the login, and each window the menu opens on the whole screen.
void FullScreenFrames(const std::string& term, TermResult& result) {
  auto host = NewHost(term);
  auto terminal = StartConsole(*host, term);
  if (!terminal) {
    return;
  }
  result.fullScreens["welcome"] = FirstFrame(*terminal);
  Press(*terminal, kF2, "Authentication Required");
  for (char c : std::string("merel")) {
    Press(*terminal, std::string(1, c));
  }
  result.fullScreens["menu"] = Press(*terminal, kEnter, "<Esc> Log Out");
  ScreenFigures ignored;
  const struct {
    const char* entry;
    const char* window;
    const char* shown;
  } windows[] = {
      {"Configure Management Network", "network", "<Esc> Exit"},
      {"Troubleshooting Options", "troubleshooting", "Troubleshooting Mode Options"},
      {"Network Restore Options", "network restore", "Restore DVS"},
  };
  for (const auto& w : windows) {
    if (!SelectEntry(*terminal, w.entry, ignored)) {
      continue;
    }
    result.fullScreens[w.window] = Press(*terminal, kEnter, w.shown);
    BackToMenu(*terminal);
  }
}

// CPU time the process has used so far (all its threads), in ms.
double CpuMs(pid_t pid) {
  const std::string dir = "/proc/" + std::to_string(pid) + "/task";
  double total = 0;
  if (DIR* tasks = opendir(dir.c_str())) {
    while (dirent* entry = readdir(tasks)) {
      if (entry->d_name[0] != '.') {
        total += atof(ReadFileText(dir + "/" + entry->d_name + "/schedstat").c_str()) / 1e6;
      }
    }
    closedir(tasks);
  }
  return total;
}

// The many-adapters host grown to `adapters` physical adapters, the new ones
// listed in descending order so the console has to sort them.
std::unique_ptr<SimHost> ScaleHost(int adapters) {
  auto host = std::make_unique<SimHost>("many-adapters");
  json state = host->HostJson();
  json& pnics = state["network"]["pnics"];
  // The fixture has eth0 and pnic0 to pnic10.
  for (int i = adapters - 2; i >= 11; --i) {
    char mac[32];
    snprintf(mac, sizeof mac, "02:00:00:%02x:%02x:%02x", (i >> 16) & 0xff, (i >> 8) & 0xff,
             i & 0xff);
    char pci[32];
    snprintf(pci, sizeof pci, "0001:%02x:%02x.%x", (i >> 8) & 0xff, (i >> 3) & 0x1f, i & 7);
    pnics.push_back({{"name", "pnic" + std::to_string(i)},
                     {"mac", mac},
                     {"label", "Intel I350"},
                     {"pciAddress", pci},
                     {"driver", "igb"},
                     {"linkUp", i % 3 != 0},
                     {"speedMbps", 1000}});
  }
  host->WriteFile("/host.json", state.dump(1) + "\n");
  return host;
}

// One console on a host of `adapters` adapters: the start-up to the first
// frame, the login, opening the network window and its adapter list, and a
// Down key in the list, each as wall time and CPU time of the console.
json Scale(int adapters) {
  auto host = ScaleHost(adapters);
  // A terminal with colours: on a black-and-white one the focus of the
  // adapter list does not show, and the Down key would draw nothing.
  const std::string term = "xterm-256color";
  auto terminal = StartConsole(*host, term);
  json out = {{"adapters", adapters}};
  if (!terminal) {
    return out;
  }
  double cpu = 0;
  auto step = [&](const char* name, const Sample& sample, Clock::time_point start) {
    const double now = IsConsole(terminal->Pid()) ? CpuMs(terminal->Pid()) : -1;
    const double wall = sample.latencyMs ? *sample.latencyMs
                        : std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    out[name] = {{"wallMs", wall}, {"cpuMs", now >= 0 ? json(now - cpu) : json()},
                 {"bytes", sample.bytes}};
    cpu = now;
  };
  auto start = Clock::now();
  step("startup", FirstFrame(*terminal), start);
  Press(*terminal, kF2, "Authentication Required");
  terminal->Send("merel");
  cpu = CpuMs(terminal->Pid());
  start = Clock::now();
  step("login", Press(*terminal, kEnter, "<Esc> Log Out"), start);
  ScreenFigures ignored;
  if (SelectEntry(*terminal, "Configure Management Network", ignored)) {
    cpu = CpuMs(terminal->Pid());
    start = Clock::now();
    step("networkWindow", Press(*terminal, kEnter, "<Esc> Exit"), start);
    if (SelectEntry(*terminal, "Network Adapters", ignored)) {
      cpu = CpuMs(terminal->Pid());
      start = Clock::now();
      step("adapterList", Press(*terminal, kEnter, "Device Name"), start);
      cpu = CpuMs(terminal->Pid());
      start = Clock::now();
      step("adapterDown", Press(*terminal, kDown), start);
    }
  }
  if (IsConsole(terminal->Pid())) {
    out["peakResidentKiB"] = PeakResidentKiB(terminal->Pid());
  }
  return out;
}

// Idle wake-ups of every terminal type at once: the welcome screen, and the
// menu after its dim (reached in seconds with a clock running 20 times fast).
void Idle(const std::vector<std::string>& terms, std::map<std::string, TermResult>& results) {
  struct Run {
    std::string term;
    bool menu;
    std::unique_ptr<SimHost> host;
    std::unique_ptr<Terminal> terminal;
  };
  std::vector<Run> runs;
  for (const std::string& term : terms) {
    for (bool menu : {false, true}) {
      Run run{term, menu, NewHost(term), nullptr};
      std::map<std::string, std::string> env;
      if (menu) {
        const std::string wrapper = "/merel-fast-clock";
        run.host->WriteFile(wrapper,
                            "#!/bin/sh\n"
                            "LD_PRELOAD=\"$LD_PRELOAD "
                            "/usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1\" "
                            "FAKETIME='+0 x20' FAKETIME_DONT_RESET=1 exec " MEREL_BIN " \"$@\"\n");
        chmod(run.host->Path(wrapper).c_str(), 0755);
        env["MEREL_BIN"] = run.host->Path(wrapper);
      }
      run.terminal = StartConsole(*run.host, term, env);
      if (run.terminal) {
        runs.push_back(std::move(run));
      }
    }
  }
  for (Run& run : runs) {
    FirstFrame(*run.terminal);
    if (run.menu) {
      Press(*run.terminal, kF2, "Authentication Required");
      run.terminal->Send("merel");
      Press(*run.terminal, kEnter, "<Esc> Log Out");
    }
  }
  // The dim comes 60 (fast) seconds after the last key: 3 s; wait for it.
  for (Run& run : runs) {
    if (run.menu) {
      const size_t before = run.terminal->Raw().size();
      run.terminal->WaitFor([&] { return run.terminal->Raw().size() > before; },
                            milliseconds(10000));
      run.terminal->WaitUntilQuiet(milliseconds(200));
    }
  }
  std::vector<long> start;
  for (Run& run : runs) {
    start.push_back(IsConsole(run.terminal->Pid()) ? VoluntarySwitches(run.terminal->Pid()) : -1);
  }
  const auto until = Clock::now() + kIdleWindow;
  while (Clock::now() < until) {
    for (Run& run : runs) {
      run.terminal->WaitUntilQuiet(milliseconds(0), milliseconds(0));  // drain, never block
    }
    std::this_thread::sleep_for(milliseconds(200));
  }
  for (size_t i = 0; i < runs.size(); ++i) {
    const long end = VoluntarySwitches(runs[i].terminal->Pid());
    const long delta = start[i] >= 0 && end >= 0 ? end - start[i] : -1;
    (runs[i].menu ? results[runs[i].term].idleDimmedMenu : results[runs[i].term].idleWelcome) =
        delta;
  }
}

std::string TermInfoString(const std::string& term, const std::string& capability) {
  return MerelTestCommon::CommandOutput("tput -T'" + term + "' " + capability + " 2>/dev/null");
}

// The same 14-entry menu and the same 26 moves through another program.
std::optional<json> CompareWith(const std::string& program,
                                const std::string& term,
                                const std::vector<std::string>& entries) {
  const std::string path = "/usr/bin/" + program;
  if (access(path.c_str(), X_OK) != 0 || entries.empty()) {
    return std::nullopt;
  }
  std::vector<std::string> argv = {path, "--title", "System Customization", "--menu",
                                   "Select an entry", "22", "60",
                                   std::to_string(entries.size())};
  for (size_t i = 0; i < entries.size(); ++i) {
    argv.push_back(std::to_string(i + 1));
    argv.push_back(entries[i]);
  }
  TerminalOptions options;
  options.term = term;
  Terminal terminal(options);
  terminal.TrackScreen();
  if (!terminal.Start(argv)) {
    return std::nullopt;
  }
  const Sample first = FirstFrame(terminal);
  // They switch the keypad to application mode: send what terminfo says.
  std::string down = TermInfoString(term, "kcud1"), up = TermInfoString(term, "kcuu1");
  if (down.empty() || up.empty()) {
    down = kDown;
    up = kUp;
  }
  ScreenFigures moves;
  for (int i = 0; i < 13; ++i) {
    moves.samples.push_back(Press(terminal, down));
  }
  for (int i = 0; i < 13; ++i) {
    moves.samples.push_back(Press(terminal, up));
  }
  json figures = moves.ToJson();
  figures["peakResidentKiB"] = PeakResidentKiB(terminal.Pid());
  figures["firstFrameBytes"] = first.bytes;
  figures["firstFrameCells"] = first.cells;
  return figures;
}

std::string Fixed(const json& value, int decimals = 1) {
  if (value.is_null()) {
    return "-";
  }
  char buffer[32];
  snprintf(buffer, sizeof buffer, "%.*f", decimals, value.get<double>());
  return buffer;
}

void PrintTable(const json& results) {
  for (const auto& [term, r] : results["terms"].items()) {
    printf("\nTERM=%s\n", term.c_str());
    if (!r["screens"].empty()) {
      printf("  first frame: %s bytes, %s changed cells, %s bytes/cell, drawn in %s ms\n",
             r["firstFrame"]["bytes"].dump().c_str(),
             r["firstFrame"]["changedCells"].dump().c_str(),
             Fixed(r["firstFrame"]["bytesPerCell"], 2).c_str(),
             Fixed(r["firstFrame"]["ms"]).c_str());
      printf("  %-20s %5s %9s %9s %10s %8s %8s\n", "screen", "keys", "bytes/key", "cells/key",
             "bytes/cell", "p50 ms", "p99 ms");
    }
    for (const auto& [screen, f] : r["screens"].items()) {
      printf("  %-20s %5d %9s %9s %10s %8s %8s\n", screen.c_str(), f["keys"].get<int>(),
             Fixed(f["bytesPerKey"]).c_str(), Fixed(f["cellsPerKey"]).c_str(),
             Fixed(f["bytesPerCell"], 2).c_str(), Fixed(f["latencyP50Ms"]).c_str(),
             Fixed(f["latencyP99Ms"]).c_str());
    }
    if (r.contains("fullScreens")) {
      printf("  %-20s %9s %9s %10s %7s %12s\n", "full-screen window", "bytes", "cells",
             "bytes/cell", "clears", "9600 baud ms");
      for (const auto& [screen, f] : r["fullScreens"].items()) {
        printf("  %-20s %9s %9s %10s %7s %12s\n", screen.c_str(), f["bytes"].dump().c_str(),
               f["changedCells"].dump().c_str(), Fixed(f["bytesPerCell"], 2).c_str(),
               f["clears"].dump().c_str(), Fixed(f["ms9600"], 0).c_str());
      }
    }
    if (r["peakResidentKiB"].get<long>() < 0) {
      continue;  // no walk
    }
    printf("  peak resident (VmHWM): %s kB; idle wake-ups in 10 s: welcome %s, dimmed menu %s\n",
           r["peakResidentKiB"].dump().c_str(), r["idleWakeups"]["welcome"].dump().c_str(),
           r["idleWakeups"]["dimmedMenu"].dump().c_str());
    for (const auto& [program, c] : r["comparison"].items()) {
      printf("  menu moves vs %-8s: bytes/cell ours %s, theirs %s, ratio %s; bytes/key ours %s, "
             "theirs %s\n",
             program.c_str(), Fixed(r["menuMoves"]["bytesPerCell"], 2).c_str(),
             Fixed(c["bytesPerCell"], 2).c_str(), Fixed(c["ratioBytesPerCell"], 2).c_str(),
             Fixed(r["menuMoves"]["bytesPerKey"]).c_str(), Fixed(c["bytesPerKey"]).c_str());
      if (c.contains("peakResidentKiB") && r["peakResidentKiB"].get<long>() > 0) {
        printf("  peak resident vs %-8s: ours %s kB, theirs %s kB, ratio %.2f\n", program.c_str(),
               r["peakResidentKiB"].dump().c_str(), c["peakResidentKiB"].dump().c_str(),
               r["peakResidentKiB"].get<double>() / c["peakResidentKiB"].get<double>());
      }
    }
  }
}

void PrintScale(const json& scale) {
  if (scale.empty()) {
    return;
  }
  printf("\nHost size (TERM=xterm-256color): wall ms / CPU ms of the console\n");
  printf("  %8s %15s %15s %15s %15s %15s %10s\n", "adapters", "start-up", "login",
         "network window", "adapter list", "Down in list", "peak kB");
  for (const json& row : scale) {
    auto cell = [&](const char* step) -> std::string {
      if (!row.contains(step)) {
        return "-";
      }
      return Fixed(row[step]["wallMs"], 0) + " / " + Fixed(row[step]["cpuMs"], 0);
    };
    printf("  %8d %15s %15s %15s %15s %15s %10s\n", row["adapters"].get<int>(),
           cell("startup").c_str(), cell("login").c_str(), cell("networkWindow").c_str(),
           cell("adapterList").c_str(), cell("adapterDown").c_str(),
           row.contains("peakResidentKiB") ? row["peakResidentKiB"].dump().c_str() : "-");
  }
}

void Flatten(const json& value, const std::string& path, std::map<std::string, double>& out) {
  if (value.is_object()) {
    for (const auto& [key, child] : value.items()) {
      Flatten(child, path.empty() ? key : path + "." + key, out);
    }
  } else if (value.is_array()) {
    for (size_t i = 0; i < value.size(); ++i) {
      Flatten(value[i], path + "[" + std::to_string(i) + "]", out);
    }
  } else if (value.is_number()) {
    out[path] = value.get<double>();
  }
}

void PrintComparison(const json& before, const json& now) {
  std::map<std::string, double> old, current;
  Flatten(before, "", old);
  Flatten(now, "", current);
  printf("\nChanges against the earlier run (old -> new):\n");
  for (const auto& [path, value] : current) {
    auto it = old.find(path);
    if (it == old.end()) {
      printf("  %-60s new %.2f\n", path.c_str(), value);
      continue;
    }
    const double delta = value - it->second;
    if (delta == 0) {
      continue;
    }
    printf("  %-60s %10.2f -> %10.2f  (%+.1f%%)\n", path.c_str(), it->second, value,
           it->second != 0 ? 100.0 * delta / it->second : 0.0);
  }
}

int Usage() {
  fprintf(stderr,
          "usage: merel-bench [--quick] [--json PATH] [--compare OLD.json] [--term TERM]...\n"
          "                   [--scale N]... [--no-walk]\n"
          "  --quick      one walk per terminal type instead of three\n"
          "  --json PATH  where the figures go (default bench-results.json)\n"
          "  --compare    print the differences to an earlier run's file\n"
          "  --term       measure only this terminal type (repeatable)\n"
          "  --scale N    host sizes in adapters (repeatable; default 12, 1000, 8000; 0: none)\n"
          "  --no-walk    only the full-screen first frames and the host sizes\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  int reps = 3;
  std::string jsonPath = "bench-results.json", comparePath;
  std::vector<std::string> terms;
  std::vector<int> sizes;
  bool walk = true;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--quick") {
      reps = 1;
    } else if (arg == "--json" && i + 1 < argc) {
      jsonPath = argv[++i];
    } else if (arg == "--compare" && i + 1 < argc) {
      comparePath = argv[++i];
    } else if (arg == "--term" && i + 1 < argc) {
      terms.push_back(argv[++i]);
    } else if (arg == "--scale" && i + 1 < argc) {
      sizes.push_back(atoi(argv[++i]));
    } else if (arg == "--no-walk") {
      walk = false;
    } else {
      return Usage();
    }
  }
  if (terms.empty()) {
    terms = kTerms;
  }
  if (sizes.empty()) {
    sizes = {12, 1000, 8000};
  }
  std::erase_if(sizes, [](int n) { return n <= 0; });
  std::optional<json> before;
  if (!comparePath.empty()) {
    before = json::parse(ReadFileText(comparePath), nullptr, false);
    if (before->is_discarded()) {
      fprintf(stderr, "merel-bench: %s is not a results file\n", comparePath.c_str());
      return 2;
    }
  }

  const auto started = Clock::now();
  std::map<std::string, TermResult> results;
  for (const std::string& term : terms) {
    fprintf(stderr, "merel-bench: full-screen windows on TERM=%s\n", term.c_str());
    FullScreenFrames(term, results[term]);
    if (!walk) {
      continue;
    }
    fprintf(stderr, "merel-bench: walking on TERM=%s\n", term.c_str());
    Walk(term, reps, results[term]);
    for (const char* program : {"dialog", "whiptail"}) {
      if (auto figures = CompareWith(program, term, kComparisonMenu)) {
        results[term].comparison[program] = *figures;
      }
    }
  }
  if (walk) {
    fprintf(stderr, "merel-bench: idle wake-ups (10 s, all terminal types at once)\n");
    Idle(terms, results);
  }
  json scale = json::array();
  for (int adapters : sizes) {
    fprintf(stderr, "merel-bench: a host of %d adapters\n", adapters);
    scale.push_back(Scale(adapters));
  }

  json out = {{"repetitions", reps}, {"quietWindowMs", kQuiet.count()}, {"terms", json::object()}};
  for (const auto& [term, r] : results) {
    json t = {{"screens", json::object()}, {"fullScreens", json::object()}};
    json first = ScreenFigures{{r.firstFrame}}.ToJson();
    t["firstFrame"] = {{"bytes", first["bytes"]},
                       {"changedCells", first["changedCells"]},
                       {"bytesPerCell", first["bytesPerCell"]},
                       {"ms", r.firstFrame.latencyMs ? json(*r.firstFrame.latencyMs) : json()}};
    for (const auto& [screen, figures] : r.screens) {
      t["screens"][screen] = figures.ToJson();
    }
    for (const auto& [screen, frame] : r.fullScreens) {
      json f = ScreenFigures{{frame}}.ToJson();
      t["fullScreens"][screen] = {{"bytes", f["bytes"]},
                                  {"changedCells", f["changedCells"]},
                                  {"bytesPerCell", f["bytesPerCell"]},
                                  {"clears", frame.clears},
                                  {"ms9600", At9600BaudMs(frame.bytes)}};
    }
    t["menuMoves"] = r.menuMoves.ToJson();
    t["peakResidentKiB"] = r.peakKiB;
    t["idleWakeups"] = {{"welcome", r.idleWelcome}, {"dimmedMenu", r.idleDimmedMenu}};
    t["comparison"] = json::object();
    for (const auto& [program, figures] : r.comparison) {
      json c = figures;
      const json ours = t["menuMoves"]["bytesPerCell"];
      c["ratioBytesPerCell"] = !ours.is_null() && !c["bytesPerCell"].is_null()
                                   ? json(ours.get<double>() / c["bytesPerCell"].get<double>())
                                   : json();
      t["comparison"][program] = c;
    }
    out["terms"][term] = t;
  }
  out["consoleKeyboardRefused"] = consoleKeyboardRefused;
  out["scale"] = scale;
  PrintTable(out);
  PrintScale(scale);
  if (consoleKeyboardRefused) {
    printf("\nThis simulated host does not take \"consoleKeyboard\" yet: the linux row ran as a "
           "remote terminal calling itself linux (driven as vt102).\n");
  }
  printf("\n(%d walk(s) per terminal type; latency: key written until the last byte before %lld "
         "ms of quiet; keys that drew nothing are left out of it; %.0f s in all)\n",
         reps, static_cast<long long>(kQuiet.count()),
         std::chrono::duration<double>(Clock::now() - started).count());
  std::ofstream(jsonPath) << out.dump(2) << "\n";
  printf("figures written to %s\n", jsonPath.c_str());
  if (before) {
    PrintComparison(*before, out);
  }
  return 0;
}
