// Names as users type them: token and shown form, and near names for a name that is not there.
#pragma once

#include <string>
#include <vector>

namespace tessaron::console {

/// A name token as hosts show it: each `_` a blank.
std::string shown_form(const std::string& token);

/// Whether `typed` is the token or its shown form.
bool same_name(const std::string& typed, const std::string& token);

/// Whether a host shows the token as `shown`: capitals apart, runs of `_` and blanks as one blank, ASCII alone.
bool is_shown_as(const std::string& token, const std::string& shown);

/// Number of single-character edits between two texts, upper and lower case alike.
int edit_distance(const std::string& a, const std::string& b);

/// At most three of `names` that `typed` may have meant, nearest first.
std::vector<std::string> near_names(const std::string& typed, const std::vector<std::string>& names);

/// " Did you mean A, B or C?", or nothing when no name is near.
std::string suggestion(const std::string& typed, const std::vector<std::string>& names);

/// "A, B, C".
std::string joined(const std::vector<std::string>& texts, const char* between = ", ");

}  // namespace tessaron::console
