#include "progress.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "deadline.h"
#include "failure.h"
#include "system.h"
#include "tavo45.h"

namespace tavo::tools {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kQuietTime = std::chrono::milliseconds(500);
constexpr auto kRedrawTime = std::chrono::milliseconds(50);
constexpr int kBarWidth = 40;
constexpr size_t kLabelWidth = 30;
constexpr int32_t kStop = 0;  // any answer but T_OK ends the library call

// The status callback has no context: what it needs is here.
struct Bar {
  std::string label;
  bool is_terminal = false;
  bool is_drawn = false;
  Clock::time_point next_draw;
};
Bar bar;

void draw(int32_t percent) {
  const int filled = std::clamp<int32_t>(percent, 0, 100) * kBarWidth / 100;
  const std::string line = std::string(static_cast<size_t>(filled), '#') +
                           std::string(static_cast<size_t>(kBarWidth - filled), '.');
  std::fprintf(stderr, "\r%s [%s] %3d%%", bar.label.c_str(), line.c_str(),
               static_cast<int>(percent));
  std::fflush(stderr);
  bar.is_drawn = true;
}

// Of UTF-8 a letter is one byte and those behind it that begin with the bits 10.
bool is_letter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

// As many letters as the label has room for, blanks or dots behind them.
std::string fitted(const std::string& label) {
  const auto letters = static_cast<size_t>(std::ranges::count_if(label, is_letter));
  if (letters <= kLabelWidth) return label + std::string(kLabelWidth - letters, ' ');
  size_t end = 0;
  for (size_t left = kLabelWidth - 3; end < label.size(); ++end)
    if (is_letter(label[end]) && left-- == 0) break;
  return label.substr(0, end) + "...";
}

void wipe() {
  if (!bar.is_drawn) return;
  const std::string blanks(kLabelWidth + kBarWidth + 8, ' ');
  std::fprintf(stderr, "\r%s\r", blanks.c_str());
  std::fflush(stderr);
  bar.is_drawn = false;
}

int32_t T_CALL on_status(int32_t percent) {
  if (noted_signal() != 0 || deadline_is_past()) return kStop;
  if (bar.is_terminal) {
    const auto now = Clock::now();
    if (now >= bar.next_draw) {
      draw(percent);
      bar.next_draw = now + kRedrawTime;
    }
  }
  return T_OK;
}

}  // namespace

Progress::Progress() {
  static const bool is_terminal = stderr_is_terminal();
  bar.is_terminal = is_terminal;
  bar.next_draw = Clock::now() + kQuietTime;
  T_SetStatusCallBack(on_status);
}

Progress::~Progress() {
  T_SetStatusCallBack(nullptr);
  wipe();
}

void Progress::start(const std::string& label) { bar.label = fitted(one_line(label)); }

}  // namespace tavo::tools
