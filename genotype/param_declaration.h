// What the files that read a parameter's declarations share.
#pragma once

#include "genotype/genotype.h"

namespace tessaron {

/// The list being read.
struct declaration {
  genotype& g;
  node& n;
  param& p;
  bool in_popup = false;         // all words but `)` and `widget` are entries
  bool new_column_next = false;  // the next word that gets as far as `new_column` counts as it
};

/// One token, or a quoted string. Room for TOKEN_SIZE bytes; 0, or non-zero to end the list.
int read_title(char* dst);

// Keywords, called with the word as written: 0, or non-zero to end the list.

/// `page TITLE`, `page_open TITLE`, `column`, `column_top`, `column_n NUMBER`.
int begin_page(declaration& d, const char* word);
/// `group_start TITLE`, `group_start_open TITLE`.
int begin_group(declaration& d, const char* word);
/// `group_end TITLE`.
int end_group(declaration& d, const char* word);
/// `widget TYPE[.PARAM] [name NAME] [wenable here|NUMBER | use_wenable PARAM] [default_off|default_on] [ORDER]`
int read_widget(declaration& d, const char* word);

/// Puts a widget entry with nothing set but its names at the head of the param's list.
widget_entry& add_widget(param& p, const char* type, const char* param_name);

}  // namespace tessaron
