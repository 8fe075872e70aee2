// The help pages: what is made of a definition, and that each stock effect has its page.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "console/find_effect.h"
#include "console/image_files.h"
#include "console/param_args.h"
#include "effects/pages/page_text.h"
#include "effects/pages/sample_picture.h"
#include "host/help.h"
#include "support/definition_files.h"

namespace tessaron::pages {
namespace {

namespace fs = std::filesystem;

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::vector<definition_text> stock_definitions() {
  std::vector<definition_text> definitions;
  std::string error;
  for (const fs::path& file : test::files_with_ending(TESSARON_SOURCE_DIR "/effects", ".text"))
    EXPECT_TRUE(scan_definitions(file.string(), definitions, error)) << error;
  return definitions;
}

std::string page_of(const std::string& source) {
  std::vector<definition_text> definitions;
  scan_definition_text(source, "test.text", definitions);
  const console::genotype_ptr g = console::bind_effect(definitions.front());
  return page_html({definitions.front(), *g, read_description(definitions.front().comment), {"a.jpg"}, "b.jpg"});
}

// --- descriptions --------------------------------------------------------------------------------

TEST(description_of_a_definition, ends_where_its_settings_begin) {
  const description about = read_description("Does this. Then that.\nTry: Amount=3\nColor=1,0.5,0 Mode=Very_best.");
  EXPECT_EQ(about.text, "Does this. Then that.");
  EXPECT_EQ(about.settings, (std::vector<std::string>{"Amount=3", "Color=1,0.5,0", "Mode=Very_best"}));
}

TEST(description_of_a_definition, needs_no_settings) {
  EXPECT_EQ(read_description("You may Try: it.").text, "You may Try: it.");
  EXPECT_TRUE(read_description("You may Try: it.").settings.empty());
  EXPECT_EQ(read_description("Try: A=1").text, "");
  EXPECT_EQ(read_description("Try: A=1").settings, std::vector<std::string>{"A=1"});
  EXPECT_EQ(read_description("").text, "");
}

TEST(first_sentence, ends_with_its_full_stop) {
  EXPECT_EQ(first_sentence("From 0.5 to\n1. And on."), "From 0.5 to 1.");
  EXPECT_EQ(first_sentence("No end"), "No end");
  EXPECT_EQ(first_sentence("One.\n\nTwo. Three."), "One.");
}

// --- pages ---------------------------------------------------------------------------------------

TEST(effect_page, tells_of_all_parameters) {
  const std::string html = page_of(
      "// Mixes <two> & more.\n"
      "(define All_Kinds (Source Back_Plate) (default_input_none 1)\n"
      "  Amount = 10 (min 0 max 100 slider_range 0 50 step 0.1 page \"Main controls\")\n"
      "  Share = 50 (percent)\n"
      "  Turn = 45 (angle)\n"
      "  Count = 3 (int min 1 max 12 slider_range 1 12)\n"
      "  Paint = [1 0.5 0] (color)\n"
      "  Place = [360 243] (screen page Place)\n"
      "  Mode = 1 (popup Fast Very_best)\n"
      "  On = 1 (boolean)\n"
      "  Free = 2\n"
      "  far = (dist xy (screen_to_norm Place))\n"
      "  sum = (+ (+ (* far Amount) Count) (+ Free (/ Turn 360)))\n"
      "  dest = (interp Source (* Paint (if> Mode 0.5 sum On)) Share))\n");
  EXPECT_TRUE(has(html, "<h1>All Kinds</h1>"));
  EXPECT_TRUE(has(html, "<p>Mixes &lt;two&gt; &amp; more.</p>"));
  const auto row = [&](const std::string& cells) {
    EXPECT_TRUE(has(html, "<tr>" + cells + "</tr>")) << cells << "\n" << html;
  };
  row("<th class=\"group\" colspan=\"5\">Main controls</th>");
  row("<th>Amount</th><td>Slider</td><td>10</td><td>0 to 100; slider 0 to 50</td><td></td>");
  row("<th>Share</th><td>Slider</td><td>50</td><td>0 to 100</td><td>percent</td>");
  row("<th>Count</th><td>Whole number</td><td>3</td><td>1 to 12</td><td></td>");
  row("<th>Place</th><td>Point</td><td>360, 243</td><td>any number</td><td>pixels of a 720 by 486 frame, from its "
      "lower left</td>");
  row("<th>Mode</th><td>Menu</td><td>Very best</td><td>Fast, Very best</td><td></td>");
  row("<th>On</th><td>Switch</td><td>on</td><td>on, off</td><td></td>");
  row("<th>Free</th><td>Slider</td><td>2</td><td>0 and more</td><td></td>");
  EXPECT_TRUE(has(html, "rgb(255, 128, 0)")) << "a chip of the colour";
  EXPECT_TRUE(has(html, "</span> 1, 0.5, 0</td><td>0 to 1 each</td>"));
  EXPECT_TRUE(has(html, "<th>Turn</th><td>Angle</td><td>45</td>"));
  EXPECT_TRUE(has(html, "<td>degrees</td>"));
  EXPECT_TRUE(has(html, "<li><b>Source</b>, the layer that the effect is put on</li>"));
  EXPECT_TRUE(has(html, "<li><b>Back Plate</b>, none unless one is chosen</li>"));
  EXPECT_TRUE(has(html, "<pre>tessaron render All_Kinds -i source.png -i back-plate.png -o out.png</pre>"));
  EXPECT_TRUE(has(html, "<img src=\"b.jpg\""));
  EXPECT_TRUE(has(html, "(define All_Kinds (Source Back_Plate)")) << "the definition itself";
}

TEST(effect_page, tells_of_on_screen_handles) {
  const std::string html = page_of(
      "(define Ring ()\n"
      "  Middle = [360 243] (screen widget center_radius.center name \"Ring\")\n"
      "  Far_Out = 50 (percent widget center_radius.radius)\n"
      "  Turn = 0 (angle widget angle.angle default_off)\n"
      "  dest = (+ (/ (dist xy (screen_to_norm Middle)) Far_Out) (/ Turn 360)))\n");
  EXPECT_TRUE(has(html, "<h2>On-screen handles</h2>"));
  EXPECT_TRUE(has(html, "<li><b>Ring</b> drags Middle, Far Out</li>"));
  EXPECT_TRUE(has(html, "<li><b>Turn</b> drags Turn; hidden until its checkbox is turned on</li>"));
}

TEST(effect_page, of_an_effect_without_inputs_and_parameters_says_so) {
  const std::string html = page_of("(define Ramp () dest = x)");
  EXPECT_FALSE(has(html, "On-screen handles"));
  EXPECT_TRUE(has(html, "It takes none"));
  EXPECT_TRUE(has(html, "It has none."));
}

TEST(index_page, is_in_the_order_of_the_names) {
  const std::string html = index_html({{"Bb", "Bb", "Second.", ""}, {"Aa", "Aa", "First <one>.", "pictures/Aa.jpg"}});
  EXPECT_LT(html.find("Aa.html"), html.find("Bb.html"));
  EXPECT_TRUE(has(html, "First &lt;one&gt;."));
}

// --- the pages of the build ----------------------------------------------------------------------

const fs::path PAGES = TESSARON_BINARY_DIR "/docs";

TEST(stock_pages, there_is_one_with_a_picture_for_each_effect) {
  const std::string index = test::read_text_file(PAGES / "intro.html");
  const std::vector<definition_text> definitions = stock_definitions();
  ASSERT_GE(definitions.size(), 20u);
  for (const definition_text& definition : definitions) {
    const std::string key = help_key(definition.name), html = test::read_text_file(PAGES / (key + ".html"));
    EXPECT_TRUE(has(html, "<img src=\"pictures/" + key + ".jpg\"")) << definition.name;
    EXPECT_TRUE(has(index, "<a href=\"" + key + ".html\"><img")) << definition.name;
    const hostkit::image picture = console::read_image_file((PAGES / "pictures" / (key + ".jpg")).string());
    EXPECT_EQ(picture.width, 600) << definition.name;
    EXPECT_EQ(picture.height, 400) << definition.name;
  }
}

TEST(stock_pages, every_link_leads_to_a_file) {
  const std::regex link("(href|src)=\"([^\"]+)\"");
  int links = 0;
  for (const fs::path& file : test::files_with_ending(PAGES, ".html")) {
    const std::string html = test::read_text_file(file);
    for (std::sregex_iterator at(html.begin(), html.end(), link), end; at != end; ++at, ++links)
      EXPECT_TRUE(fs::exists(PAGES / (*at)[2].str())) << file << ": " << (*at)[2];
    EXPECT_FALSE(has(html, "<!-- effects -->")) << file;
  }
  EXPECT_GT(links, 100);
}

TEST(stock_effects, have_a_description_that_a_user_can_read) {
  std::set<std::string> keys = {"intro", "Custom"};
  for (const definition_text& definition : stock_definitions()) {
    const description about = read_description(definition.comment);
    EXPECT_GE(about.text.size(), 40u) << definition.name << ": " << about.text;
    EXPECT_TRUE(about.text.ends_with(".")) << definition.name;
    EXPECT_TRUE(std::isupper(static_cast<unsigned char>(about.text[0]))) << definition.name;
    EXPECT_TRUE(keys.insert(help_key(definition.name)).second) << definition.name << " shares its page";
    const console::genotype_ptr g = console::bind_effect(definition);
    EXPECT_NO_THROW(console::parse_params(about.settings, *g)) << definition.name;
  }
}

TEST(sample_pictures, are_the_same_wherever_they_are_drawn) {
  const hostkit::image a = draw_lake(60, 40), b = draw_lake(60, 40);
  EXPECT_EQ(a.data, b.data);
  EXPECT_NE(a.data, draw_dunes(60, 40).data);
}

}  // namespace
}  // namespace tessaron::pages
