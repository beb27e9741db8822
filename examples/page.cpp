#include <algorithm>
#include <string>

#include "font.h"
#include "noise.h"
#include "pictures.h"

namespace examples {
namespace {

constexpr Color kInk = {0, 0, 0};
constexpr Color kPaper = {255, 255, 255};
constexpr int kColumns = 84;  // letters in a line

const char* const kWords[] = {
    "the",   "picture", "of",     "a",       "house", "and",    "its",     "garden", "was",
    "drawn", "with",    "lines",  "that",    "run",   "from",   "left",    "to",     "right",
    "each",  "row",     "holds",  "pixels",  "in",    "whole",  "numbers", "so",     "every",
    "page",  "comes",   "out",    "alike",   "when",  "it",     "is",      "sent",   "by",
    "wire",  "or",      "stored", "archive", "for",   "many",   "years",   "light",  "shadow",
    "fine",  "paper",   "letter", "margin",  "table", "figure", "measure", "between"};

// Draws down the page, line by line.
class Page {
 public:
  explicit Page(Canvas& canvas)
      : canvas_(canvas),
        scale_(std::max(1, canvas.width() / ((kColumns + 12) * kCellWidth))),
        left_((canvas.width() - kColumns * kCellWidth * scale_) / 2),
        y_(std::max(left_, 2 * scale_)) {}

  bool is_full() const { return y_ + 14 * kLineHeight * scale_ > canvas_.height(); }

  void heading(const std::string& text) {
    draw_text(canvas_, left_, y_, 2 * scale_, kInk, text);
    y_ += 2 * kLineHeight * scale_;
    rule();
    y_ += kLineHeight * scale_;
  }

  void paragraph(int number) {
    std::string line = std::to_string(number) + ".";
    const int words = 50 + hash8(number, 0, 7) / 4;
    for (int i = 0; i < words; ++i) {
      const std::string word = kWords[static_cast<size_t>(hash8(number, i, 9)) % std::size(kWords)];
      if (line.size() + word.size() + 1 > kColumns) print(line);
      if (!line.empty()) line += ' ';
      line += word;
    }
    line += '.';
    print(line);
    y_ += kLineHeight * scale_ / 2;
  }

  void table(int number) {
    for (int row = 0; row < 5; ++row) {
      rule();
      for (int column = 0; column < 6; ++column) {
        const int x = left_ + column * 14 * kCellWidth * scale_;
        canvas_.fill(x, y_, scale_, 12 * scale_, kInk);
        const int value = hash8(row, column, 17 + static_cast<uint32_t>(number)) * 37;
        draw_text(canvas_, x + 4 * scale_, y_ + 3 * scale_, scale_, kInk,
                  row == 0 ? "Item " + std::to_string(column + 1) : std::to_string(value));
      }
      canvas_.fill(left_ + kColumns * kCellWidth * scale_ - scale_, y_, scale_, 12 * scale_, kInk);
      y_ += 12 * scale_;
    }
    rule();
    y_ += kLineHeight * scale_;
  }

  // Bars, every other one hatched.
  void diagram() {
    const int height = 8 * kLineHeight * scale_;
    for (int bar = 0; bar < 14; ++bar) {
      const int tall = height * (40 + hash8(bar, 0, 27) * 3 / 4) / 256;
      const int x = left_ + bar * 6 * kCellWidth * scale_;
      for (int y = y_ + height - tall; y < y_ + height; ++y)
        for (int dx = 0; dx < 4 * kCellWidth * scale_; ++dx)
          if (bar % 2 == 0 || (dx + y) / scale_ % 4 == 0) canvas_.set(x + dx, y, kInk);
    }
    y_ += height;
    rule();
    y_ += kLineHeight * scale_;
  }

 private:
  void rule() { canvas_.fill(left_, y_, kColumns * kCellWidth * scale_, scale_, kInk); }

  void print(std::string& line) {
    draw_text(canvas_, left_, y_, scale_, kInk, line);
    y_ += kLineHeight * scale_;
    line.clear();
  }

  Canvas& canvas_;
  int scale_;
  int left_;
  int y_;
};

}  // namespace

void draw_page(Canvas& canvas) {
  canvas.fill(0, 0, canvas.width(), canvas.height(), kPaper);
  Page page(canvas);
  page.heading("Report on pictures, page 1");
  for (int number = 1; !page.is_full(); ++number) {
    page.paragraph(number);
    if (number % 5 == 2 && !page.is_full()) page.table(number);
    if (number % 5 == 4 && !page.is_full()) page.diagram();
  }
}

}  // namespace examples
