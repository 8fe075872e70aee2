// Opens pages and addresses with the system's shell, and says what went wrong.
#include "base/report.h"
#include "base/text.h"
#include "host/help.h"
#include "host/host_report.h"
#include "installer/custom_listing.h"
#include "platform/platform.h"

namespace tessaron {

namespace {

struct error_row {
  int result;
  const char* text;  // `%s` is the path
};

constexpr error_row ERRORS[] = {
    {0, "The operating system is out of memory or resources."},
    {2, "The file %s was not found."},
    {3, "The path %s was not found."},
    {5, "The operating system denied access to %s."},
    {8, "There was not enough memory to complete the operation."},
    {11, "The .exe file is invalid (non-Win32.exe or error in .exe image)."},
    {26, "A sharing violation occurred."},
    {27, "The file name association for %s is incomplete or invalid."},
    {28, "The DDE transaction could not be completed because the request timed out."},
    {29, "The DDE transaction failed."},
    {30, "The DDE transaction could not be completed because other DDE transactions were being processed."},
    {31,
     "There is no application associated with the file name extension for %s:\nperhaps you need to install "
     "Adobe Acrobat?."},
    {32, "The specified dynamic-link library was not found."},
};

}  // namespace

std::string open_doc_error_text(int result, const std::string& path) {
  for (const error_row& row : ERRORS) {
    if (row.result != result) continue;
    std::string text = row.text;
    if (const std::size_t at = text.find("%s"); at != std::string::npos) text.replace(at, 2, path);
    return text;
  }
  return format_text("The operating system could not open %s: error %d.", path.c_str(), result);
}

void open_doc(const std::string& path) {
  const int result = platform::open_document(path, format_text("%s/docs", get_config_dir()));
  if (result > platform::LAST_SHELL_ERROR) return;
  titled_host_report(REPORT_WARNING, "Error Loading File", open_doc_error_text(result, path).c_str());
}

}  // namespace tessaron
