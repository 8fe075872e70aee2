// The HTML page of one effect, from its definition alone.
#pragma once

#include <string>
#include <vector>

#include "genotype/genotype.h"
#include "host/inspect.h"

namespace tessaron::pages {

/// What the comment in front of a definition says. A last paragraph `Try: NAME=V NAME=V,V,V` gives the settings
/// with which the effect is shown, for those that do nothing as they come.
struct description {
  std::string text;
  std::vector<std::string> settings;
};
description read_description(const std::string& comment);

/// All that goes into a page.
struct effect_page {
  const definition_text& definition;
  const genotype& g;
  description about;
  std::vector<std::string> input_pictures;  // of the inputs, in order
  std::string picture;                      // of the effect; empty: there is none
};
std::string page_html(const effect_page& page);

/// What the index shows of an effect.
struct index_entry {
  std::string key, name, first_sentence, picture;
};
/// The grid of the index, by name.
std::string index_html(std::vector<index_entry> entries);

/// A whole page around a body, its links relative to the folder of the pages.
std::string whole_page(const std::string& title, const std::string& body);

/// A text with what HTML reads as marks written out.
std::string escaped(const std::string& text);
/// The text up to its first full stop.
std::string first_sentence(const std::string& text);

}  // namespace tessaron::pages
