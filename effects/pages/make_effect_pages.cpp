// Makes the help pages of the stock effects: make_effect_pages EFFECTS TEXTS OUT
//
// EFFECTS is the folder of definitions, TEXTS the one with the pages that are written by hand and the style sheet, OUT
// where all goes. Each effect is rendered over drawn pictures, so that a page shows what the definition does.
#include <OpenImageIO/imagebuf.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "console/errors.h"
#include "console/find_effect.h"
#include "console/image_files.h"
#include "console/names.h"
#include "console/output_file.h"
#include "console/render_command.h"
#include "effects/pages/page_text.h"
#include "effects/pages/sample_picture.h"
#include "host/help.h"

namespace tessaron::pages {
namespace {

namespace fs = std::filesystem;

constexpr int WIDTH = 600, HEIGHT = 400, JPEG_QUALITY = 85;
constexpr const char* GRID_MARK = "<!-- effects -->";

std::string read_file(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  if (!file || !(text << file.rdbuf())) throw std::runtime_error("cannot read " + path.string());
  return text.str();
}

void write_file(const fs::path& path, const std::string& text) {
  console::write_whole_file(path.string(), text.data(), text.size());
}

/// Writes an image file again as a small JPEG.
void write_jpeg(const std::string& from, const std::string& to) {
  OIIO::ImageBuf picture(from);
  picture.read(0, 0, true);
  picture.specmod().attribute("CompressionQuality", JPEG_QUALITY);
  if (!picture.write(to)) throw std::runtime_error("cannot write " + to + ": " + picture.geterror());
}

/// Name of the sample picture for an input.
std::string sample_for(const std::string& input, std::size_t index) {
  std::string lower;
  for (const char c : input) lower += char(std::tolower(static_cast<unsigned char>(c)));
  if (lower.find("matte") != std::string::npos || lower.find("mask") != std::string::npos || index > 1)
    return "sample-matte";
  return index == 0 ? "sample" : "sample-2";
}

class page_maker {
 public:
  page_maker(fs::path texts, fs::path out) : texts_(std::move(texts)), out_(std::move(out)) {
    fs::create_directories(scratch_);
  }
  ~page_maker() {
    std::error_code ignored;
    fs::remove_all(scratch_, ignored);
  }
  page_maker(const page_maker&) = delete;
  page_maker& operator=(const page_maker&) = delete;

  /// Draws the pictures for the inputs, once for the effects to read and once for the pages.
  void draw_samples() {
    fs::create_directories(out_ / "pictures");
    const std::pair<const char*, hostkit::image> SAMPLES[] = {{"sample", draw_lake(WIDTH, HEIGHT)},
                                                              {"sample-2", draw_dunes(WIDTH, HEIGHT)},
                                                              {"sample-matte", draw_matte(WIDTH, HEIGHT)}};
    for (const auto& [name, picture] : SAMPLES) {
      console::write_image_file(scratch(name), picture);
      write_jpeg(scratch(name), in_pages(name));
    }
  }

  void add_file(const std::string& path) {
    std::vector<definition_text> definitions;
    std::string error;
    if (!scan_definitions(path, definitions, error)) throw std::runtime_error("cannot read " + error);
    for (const definition_text& definition : definitions) add_effect(definition);
  }

  /// The index, the pages that are written by hand, and the style sheet.
  void add_written_pages() {
    std::string intro = read_file(texts_ / "intro.html");
    const std::size_t mark = intro.find(GRID_MARK);
    if (mark == std::string::npos) throw std::runtime_error("intro.html has no place for the effects");
    intro.replace(mark, std::string(GRID_MARK).size(), index_html(entries_));
    write_file(out_ / "intro.html", whole_page("Introduction", intro));
    write_file(out_ / "Custom.html", whole_page("Custom effects", read_file(texts_ / "Custom.html")));
    write_file(out_ / "style.css", read_file(texts_ / "style.css"));
  }

  int count() const { return int(entries_.size()); }

 private:
  void add_effect(const definition_text& definition);
  bool render(const definition_text& definition, const std::vector<std::string>& samples,
              const std::vector<std::string>& settings, const std::string& key) const;

  /// Where a page finds a picture, where that lies, and the uncompressed one of it.
  static std::string link(const std::string& name) { return "pictures/" + name + ".jpg"; }
  std::string in_pages(const std::string& name) const { return (out_ / link(name)).string(); }
  std::string scratch(const std::string& name) const { return (scratch_ / (name + ".ppm")).string(); }

  fs::path texts_, out_, scratch_ = out_ / ".scratch";
  std::vector<index_entry> entries_;
  std::map<std::string, std::string> owners_ = {{"intro", "the introduction"}, {"Custom", "the custom effects"}};
};

void page_maker::add_effect(const definition_text& definition) {
  const std::string key = help_key(definition.name);
  if (key.empty() || key.find('/') != std::string::npos)
    throw std::runtime_error("'" + definition.name + "' makes no file name");
  const auto [owner, is_new] = owners_.emplace(key, definition.name);
  if (!is_new) throw std::runtime_error(definition.name + " and " + owner->second + " share the page " + key + ".html");

  const console::genotype_ptr g = console::bind_effect(definition);
  effect_page page{definition, *g, read_description(definition.comment), {}, ""};
  std::vector<std::string> samples;
  for (const std::string& name : console::input_names(*g)) {
    samples.push_back(sample_for(name, samples.size()));
    page.input_pictures.push_back(link(samples.back()));
  }
  if (render(definition, samples, page.about.settings, key)) page.picture = link(key);
  write_file(out_ / (key + ".html"), page_html(page));
  entries_.push_back({key, console::shown_form(definition.name), first_sentence(page.about.text), page.picture});
}

/// False after a message: a page without a picture is better than no page.
bool page_maker::render(const definition_text& definition, const std::vector<std::string>& samples,
                        const std::vector<std::string>& settings, const std::string& key) const {
  console::render_options options;
  options.effect = definition.name;
  options.place.defs_file = definition.file;
  for (const std::string& sample : samples) options.inputs.push_back(scratch(sample));
  options.params = settings;
  options.output = scratch(key);
  options.size = std::to_string(WIDTH) + "x" + std::to_string(HEIGHT);
  if (console::render_command(options) != console::EXIT_DONE) {
    std::fprintf(stderr, "make_effect_pages: %s has no picture\n", definition.name.c_str());
    return false;
  }
  write_jpeg(options.output, in_pages(key));
  return true;
}

int run(const std::string& effects, const std::string& texts, const std::string& out) {
  page_maker pages(texts, out);
  pages.draw_samples();
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(effects))
    if (entry.path().extension() == ".text") files.push_back(entry.path().string());
  std::sort(files.begin(), files.end());
  for (const std::string& file : files) pages.add_file(file);
  pages.add_written_pages();
  std::printf("%d pages in %s\n", pages.count(), out.c_str());
  return console::EXIT_DONE;
}

}  // namespace
}  // namespace tessaron::pages

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: make_effect_pages EFFECTS TEXTS OUT\n");
    return tessaron::console::EXIT_COMMAND_LINE;
  }
  try {
    return tessaron::pages::run(argv[1], argv[2], argv[3]);
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "make_effect_pages: %s\n", fault.what());
    return tessaron::console::EXIT_WORK_FAILED;
  }
}
