#include "effects/pages/page_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>

#include "console/find_effect.h"
#include "console/names.h"
#include "host/help.h"

namespace tessaron::pages {
namespace {

using console::shown_form;

constexpr const char* SETTINGS_MARK = "Try:";

std::string number(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

std::string element(const std::string& tag, const std::string& content) {
  return "<" + tag + ">" + content + "</" + tag.substr(0, tag.find(' ')) + ">";
}

// --- parameters ----------------------------------------------------------------------------------

const char* list_file(const param& p) {
  if (p.flags[1] & PARAM1_LENS_FLARES) return "t_lensflares.text";
  if (p.flags[1] & PARAM1_GLARES) return "t_glares.text";
  return p.flags[1] & (PARAM1_NEG_FILM | PARAM1_PRINT_FILM) ? "t_filmtypes.text" : nullptr;
}

std::string control_words(const param& p) {
  if (p.flags[1] & PARAM1_NAMED_LIST) return "Menu";
  const bool pair = p.nchannels == 2;
  switch (p.ptype) {
    case PTYPE_INT:
      return pair ? "Two whole numbers" : "Whole number";
    case PTYPE_COLOR:
      return "Colour";
    case PTYPE_POPUP:
      return "Menu";
    case PTYPE_TOGGLE:
      return "Switch";
    case PTYPE_BUTTON:
      return "Button";
    default:
      break;
  }
  if (p.flags[4] & PARAM4_ANGLE) return "Angle";
  const bool place = p.units() == UNITS_SCREEN || p.units() == UNITS_SCREEN_CENTER || p.units() == UNITS_NORMALIZE;
  if (pair && place) return "Point";
  static constexpr const char* SLIDERS[] = {"Slider", "Slider", "Two sliders", "Three sliders", "Four sliders"};
  return SLIDERS[std::clamp<int>(p.nchannels, 0, 4)];
}

const char* unit_words(const param& p) {
  if (p.flags[3] & PARAM3_PERCENT) return "percent";
  if (p.flags[4] & PARAM4_ANGLE) return "degrees";
  switch (p.units()) {
    case UNITS_SCREEN:
      return "pixels of a 720 by 486 frame, from its lower left";
    case UNITS_SCREEN_CENTER:
      return "pixels of a 720 by 486 frame, from its centre";
    case UNITS_SCREEN_CENTER0:
      return "pixels";
    case UNITS_NORMALIZE:
      return "halves of the width, from the centre";
    case UNITS_NORMALIZE_SCALE:
      return "scaled to the frame";
    case UNITS_SCREEN_TO_NORM:
      return "frame, -1 to 1";
    case UNITS_SCREEN_CENTER_TO_NORM:
      return "frame, 0 to 1";
    default:
      return "";
  }
}

std::string swatch(const param& p) {
  const auto byte = [&](int c) {
    return std::to_string(int(std::lround(std::clamp(double(p.default_value[c]), 0.0, 1.0) * 255)));
  };
  return element("span class=\"swatch\" style=\"background: rgb(" + byte(0) + ", " + byte(1) + ", " + byte(2) + ")\"",
                 "") +
         " ";
}

/// Texts of a popup's entries, those of all channels.
std::vector<std::string> popup_texts(const param& p) {
  std::vector<std::string> texts;
  for (int i = 0; i < std::min<int>(p.n_popup_entries, MAX_POPUP_TEXTS); ++i)
    if (p.popup_entry[i]) texts.push_back(shown_form(p.popup_entry[i]));
  return texts;
}

std::string default_words(const param& p) {
  if (p.ptype == PTYPE_TOGGLE || p.ptype == PTYPE_BUTTON) return p.default_value[0] != 0 ? "on" : "off";
  if (p.ptype == PTYPE_POPUP && p.nchannels == 1) {
    const std::vector<std::string> texts = popup_texts(p);
    const double i = p.default_value[0];
    if (i >= 0 && i < double(texts.size())) return escaped(texts[std::size_t(i)]);
  }
  std::vector<std::string> numbers;
  for (int c = 0; c < p.nchannels; ++c) numbers.push_back(number(p.default_value[c]));
  return (p.ptype == PTYPE_COLOR ? swatch(p) : "") + console::joined(numbers);
}

std::string range_words(const param& p) {
  if (const char* file = list_file(p)) return std::string("the entries of ") + file;
  if (p.ptype == PTYPE_POPUP) return escaped(console::joined(popup_texts(p)));
  if (p.ptype == PTYPE_TOGGLE || p.ptype == PTYPE_BUTTON) return "on, off";
  if (p.ptype == PTYPE_COLOR) return "0 to 1 each";
  const auto range = [](float low, float high) {
    if (low == UNSET_MIN && high == UNSET_MAX) return std::string("any number");
    if (low == UNSET_MIN) return "up to " + number(high);
    if (high == UNSET_MAX) return number(low) + " and more";
    return number(low) + " to " + number(high);
  };
  std::string words = range(p.min_bound, p.max_bound);
  const bool has_slider = p.slider_min != UNSET_MIN || p.slider_max != UNSET_MAX;
  if (has_slider && (p.slider_min != p.min_bound || p.slider_max != p.max_bound))
    words += "; slider " + range(p.slider_min, p.slider_max);
  return words;
}

std::string param_row(const param& p) {
  return "<tr>" + element("th", escaped(shown_form(p.name))) + element("td", control_words(p)) +
         element("td", default_words(p)) + element("td", range_words(p)) + element("td", unit_words(p)) + "</tr>\n";
}

std::string params_html(const genotype& g) {
  std::string rows;
  int page = -1;
  for (int i = 0; i < g.n_params; ++i) {
    const param& p = *g.params[i];
    const char* title = p.page >= 0 && p.page < MAX_PAGES ? g.page_names[p.page + 1] : nullptr;
    if (p.page != page && title)
      rows += "<tr><th class=\"group\" colspan=\"5\">" + escaped(shown_form(title)) + "</th></tr>\n";
    page = p.page;
    rows += param_row(p);
  }
  if (rows.empty()) return "<p>It has none.</p>\n";
  return "<div class=\"wide\"><table>\n<thead><tr><th>Name</th><th>Control</th><th>Default</th><th>Range</th>"
         "<th>Unit</th></tr></thead>\n<tbody>\n" +
         rows + "</tbody></table></div>\n";
}

// --- on-screen handles ---------------------------------------------------------------------------

/// What each handle over the picture drags. An effect without handles has no such part of its page.
std::string handles_html(const genotype& g) {
  std::string items;
  for (int i = 0; i < g.n_widgets; ++i) {
    const widget_declaration& w = g.widgets[i];
    std::vector<std::string> moved;
    for (int k = 0; k < w.n_parts; ++k) {
      const std::string name = shown_form(g.params[w.parts[k].param_index]->name);
      if (std::find(moved.begin(), moved.end(), name) == moved.end()) moved.push_back(name);
    }
    std::string words = element("b", escaped(shown_form(w.enable_name ? w.enable_name : moved.front())));
    words += " drags " + escaped(console::joined(moved));
    if (!w.default_on_p) words += "; hidden until its checkbox is turned on";
    items += element("li", words) + "\n";
  }
  return items.empty() ? "" : "<h2>On-screen handles</h2>\n<ul>\n" + items + "</ul>\n";
}

// --- the rest of a page --------------------------------------------------------------------------

std::string paragraphs(const std::string& text) {
  std::string html;
  std::istringstream lines(text);
  std::string paragraph;
  const auto close = [&] {
    if (!paragraph.empty()) html += element("p", escaped(paragraph)) + "\n";
    paragraph.clear();
  };
  for (std::string line; std::getline(lines, line);) {
    if (line.empty())
      close();
    else
      paragraph += (paragraph.empty() ? "" : " ") + line;
  }
  close();
  return html;
}

std::string figure(const std::string& picture, const std::string& caption) {
  return "<figure><img src=\"" + escaped(picture) + "\" alt=\"" + escaped(caption) + "\">" +
         element("figcaption", escaped(caption)) + "</figure>\n";
}

std::string pictures_html(const effect_page& page) {
  std::string html = "<div class=\"pictures\">\n";
  if (!page.picture.empty())
    html +=
        figure(page.picture, page.about.settings.empty() ? "As it comes"
                                                         : "With " + shown_form(console::joined(page.about.settings)));
  const std::vector<std::string> names = console::input_names(page.g);
  for (std::size_t i = 0; i < std::min(names.size(), page.input_pictures.size()); ++i)
    html += figure(page.input_pictures[i], shown_form(names[i]));
  return html + "</div>\n";
}

std::string inputs_html(const genotype& g) {
  const std::vector<std::string> names = console::input_names(g);
  if (names.empty()) return "<p>It takes none: it makes a picture of its own.</p>\n";
  std::string items;
  for (std::size_t i = 0; i < names.size(); ++i) {
    std::string words = element("b", escaped(shown_form(names[i])));
    if (i == 0) words += ", the layer that the effect is put on";
    if (g.default_none_inputs >> i & 1) words += ", none unless one is chosen";
    if (g.default_self_inputs >> i & 1) words += ", the layer itself unless another is chosen";
    if (i > 0 && g.mask_input == int(i)) words += ", which masks the effect";
    items += element("li", words) + "\n";
  }
  return "<ul>\n" + items + "</ul>\n";
}

std::string command_html(const effect_page& page) {
  std::string command = "tessaron render " + page.definition.name;
  for (const std::string& name : console::input_names(page.g)) {
    command += " -i ";
    for (const char c : name) command += c == '_' ? '-' : char(std::tolower(static_cast<unsigned char>(c)));
    command += ".png";
  }
  for (const std::string& setting : page.about.settings) command += " -p " + setting;
  return element("pre", escaped(command + " -o out.png")) + "\n";
}

}  // namespace

description read_description(const std::string& comment) {
  description about;
  const std::size_t mark = comment.rfind(std::string("\n") + SETTINGS_MARK);
  const bool only_settings = comment.starts_with(SETTINGS_MARK);
  about.text = only_settings ? "" : comment.substr(0, mark);
  if (!only_settings && mark == std::string::npos) return about;
  std::istringstream words(comment.substr(comment.find(':', only_settings ? 0 : mark) + 1));
  for (std::string word; words >> word;) about.settings.push_back(word);
  if (!about.settings.empty() && about.settings.back().ends_with('.')) about.settings.back().pop_back();
  return about;
}

std::string page_html(const effect_page& page) {
  const std::string name = shown_form(page.definition.name);
  std::string body = element("h1", escaped(name)) + "\n" + paragraphs(page.about.text) + pictures_html(page) +
                     "<h2>Inputs</h2>\n" + inputs_html(page.g) + "<h2>Parameters</h2>\n" + params_html(page.g) +
                     handles_html(page.g) + "<h2>On the command line</h2>\n" + command_html(page) +
                     "<details><summary>How it is made</summary>\n" +
                     element("pre", escaped(page.definition.text.substr(
                                        0, page.definition.whole_at ? page.definition.whole_at : std::string::npos))) +
                     "\n</details>\n";
  return whole_page(name, body);
}

std::string index_html(std::vector<index_entry> entries) {
  std::sort(entries.begin(), entries.end(), [](const index_entry& a, const index_entry& b) { return a.name < b.name; });
  std::string html = "<ul class=\"index\">\n";
  for (const index_entry& entry : entries) {
    const std::string picture =
        entry.picture.empty() ? "" : "<img src=\"" + escaped(entry.picture) + "\" alt=\"\" loading=\"lazy\">";
    html += "<li><a href=\"" + escaped(entry.key) + ".html\">" + picture + element("b", escaped(entry.name)) + "</a>" +
            element("span", escaped(entry.first_sentence)) + "</li>\n";
  }
  return html + "</ul>\n";
}

std::string whole_page(const std::string& title, const std::string& body) {
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n" +
         element("title", escaped(title) + " - Tessaron") +
         "\n<link rel=\"stylesheet\" href=\"style.css\">\n</head>\n<body>\n"
         "<nav><a href=\"intro.html\">Tessaron effects</a> <a href=\"Custom.html\">Custom effects</a></nav>\n<main>\n" +
         body + "</main>\n<footer>Tessaron " + inspect_version() + "</footer>\n</body>\n</html>\n";
}

std::string escaped(const std::string& text) {
  std::string html;
  for (const char c : text) {
    if (c == '&')
      html += "&amp;";
    else if (c == '<')
      html += "&lt;";
    else if (c == '>')
      html += "&gt;";
    else if (c == '"')
      html += "&quot;";
    else
      html += c;
  }
  return html;
}

std::string first_sentence(const std::string& text) {
  std::string line = text.substr(0, text.find("\n\n"));
  std::replace(line.begin(), line.end(), '\n', ' ');
  const std::size_t stop = line.find(". ");
  return stop == std::string::npos ? line : line.substr(0, stop + 1);
}

}  // namespace tessaron::pages
