// tavo sheet: many pictures on pages, with their names.
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "canvas.h"
#include "failure.h"
#include "font.h"
#include "format_table.h"
#include "letters.h"
#include "option_checks.h"
#include "page_files.h"
#include "picture.h"
#include "program.h"
#include "progress.h"
#include "sheet_layout.h"
#include "source.h"
#include "system.h"
#include "thumbnail.h"

namespace tavo::tools {
namespace {

struct SheetArguments {
  std::vector<std::string> files;  // the last one is written
  std::string format;
  bool first_page = false;
  SheetOptions sheet;
};

class Sheet {
 public:
  explicit Sheet(const SheetArguments& arguments)
      : arguments_(arguments),
        layout_(lay_out(arguments.sheet)),
        files_(arguments.files.back(), format_for(arguments.format, arguments.files.back()),
               "sheet") {}

  int run();

 private:
  void add_file(const std::string& name);
  void add_page(const Source& source, const FILEINFO& info);
  void place(BitmapHandle& small, int32_t x, int32_t y);
  void write(const std::string& name, int32_t x, int32_t y);
  void finish_page();

  const SheetArguments& arguments_;
  const SheetLayout layout_;
  PageFiles files_;
  std::optional<Canvas> canvas_;
  int32_t used_ = 0;  // cells of it
  int status_ = kExitOk;
};

int Sheet::run() {
  const GifFrames frames(!arguments_.first_page);
  for (size_t i = 0; i + 1 < arguments_.files.size(); ++i) add_file(arguments_.files[i]);
  finish_page();
  files_.commit();
  return status_;
}

// A page that cannot be read does not stop the others.
void Sheet::add_file(const std::string& name) {
  std::optional<Source> source;
  int32_t last = 1;
  for (int32_t page = 1; page <= last; ++page) {
    if (used_ == layout_.cells()) finish_page();
    try {
      if (!source) source.emplace(name);
      const FILEINFO info = describe(*source, page);
      if (!arguments_.first_page) last = std::min(info.PageCount, T_MAX_PAGES);
      add_page(*source, info);
    } catch (const Failure& failure) {
      check_signals();
      report(failure);
      status_ = kExitFailure;
    }
  }
}

void Sheet::add_page(const Source& source, const FILEINFO& info) {
  Picture small;
  Progress progress;
  progress.start("Reading " + source.name());
  load_thumbnail(source, info, layout_.box, small.record());
  if (!canvas_) canvas_.emplace(layout_.page, arguments_.sheet.dots_per_inch);
  const int32_t x = layout_.margin + used_ % layout_.columns * layout_.step_x;
  const int32_t y = layout_.margin + used_ / layout_.columns * layout_.step_y;
  ++used_;
  place(small.record(), x, y);
  std::string name = last_name_of(source.name());
  if (info.PageCount > 1)
    name += " " + std::to_string(info.Page) + "/" + std::to_string(info.PageCount);
  write(name, x, y + layout_.text_at);
}

// In the middle of the box at this place.
void Sheet::place(BitmapHandle& small, int32_t x, int32_t y) {
  const Extent extent = extent_of(small);
  x += (layout_.box.width - extent.width) / 2;
  y += (layout_.box.height - extent.height) / 2;
  canvas_->paint(small, x, y);
  canvas_->frame({extent.width + 2, extent.height + 2}, x - 1, y - 1);
}

void Sheet::write(const std::string& name, int32_t x, int32_t y) {
  const int32_t pitch = kGlyphWidth * layout_.scale;
  const auto most = static_cast<size_t>(layout_.box.width / pitch);
  const std::u32string letters = shortened(letters_of(name), most);
  const int32_t width = static_cast<int32_t>(letters.size()) * pitch;
  canvas_->write(letters, x + (layout_.box.width - width) / 2, y, layout_.scale);
}

void Sheet::finish_page() {
  if (canvas_) files_.add(canvas_->picture().record());
  canvas_.reset();
  used_ = 0;
}

int run_sheet(const SheetArguments& arguments) {
  if (arguments.files.size() < 2)
    throw UsageError{"there is no OUT for " + arguments.files.front()};
  for (size_t i = 0; i + 1 < arguments.files.size(); ++i)
    if (file_identity(arguments.files[i]) == file_identity(arguments.files.back()))
      throw UsageError{arguments.files.back() + " would be written over an input"};
  return Sheet(arguments).run();
}

}  // namespace

void add_sheet(CLI::App& app, Action& action) {
  auto arguments = std::make_shared<SheetArguments>();
  CLI::App* command = app.add_subcommand("sheet", "Show files on a contact sheet");
  command
      ->add_option("FILE", arguments->files,
                   "Files of any formats, every page of them, and last the file to write. Its "
                   "extension names the format; \"-\" is standard output")
      ->required();
  command
      ->add_option("-f,--format,--to", arguments->format,
                   "Format to write, as \"tavo convert\" takes it")
      ->type_name("F");
  command->add_flag("--first-page", arguments->first_page,
                    "Of files with several pages, and of animations, the first page alone");
  command->add_option("--paper", arguments->sheet.paper, "Size of the pages")
      ->check(one_of({"a4", "letter"}))
      ->type_name("a4|letter")
      ->capture_default_str();
  command->add_flag("--landscape", arguments->sheet.is_landscape, "Pages that lie on their side");
  command
      ->add_option("--dpi", arguments->sheet.dots_per_inch, "Dots per inch of the pages, 50 to 600")
      ->check(whole_number(50, 600))
      ->type_name("N")
      ->capture_default_str();
  command->add_option("--columns", arguments->sheet.columns, "Pictures side by side, 1 to 20")
      ->check(whole_number(1, 20))
      ->type_name("N")
      ->capture_default_str();
  command->footer(
      "What does not fit on one page goes on the next one: in formats without pages to OUT.page2,\n"
      "OUT.page3 ..., the number in front of the extension. Pictures are upright, and never "
      "larger\n"
      "than they are. Example:\n"
      "  tavo sheet scans/*.tif photos/*.jpg overview.tif --to lzw");
  command->callback(
      [arguments, &action] { action = [arguments] { return run_sheet(*arguments); }; });
}

}  // namespace tavo::tools
