// `tessaron`: the console host. Options and verbs; the exit status is 0 done, 1 the work failed,
// 2 the command line is wrong.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <functional>
#include <new>

#include "console/about_command.h"
#include "console/errors.h"
#include "console/image_files.h"
#include "console/look_commands.h"
#include "console/names.h"
#include "console/render_command.h"
#include "console/widgets_command.h"
#include "host/inspect.h"

namespace tessaron::console {
namespace {

std::string version_text() {
  return std::string("tessaron ") + inspect_version() + " (" + inspect_cpu_level() + " kernels, " +
         image_library_name() + ")";
}

void add_place(CLI::App& verb, effect_place& place) {
  auto* defs = verb.add_option("--defs", place.defs_file, "Look in this definitions file")->type_name("FILE");
  verb.add_option("--plugin", place.plugin_file, "Load this installed plug-in and take what it offers")
      ->type_name("FILE")
      ->excludes(defs);
}

void add_config_dir(CLI::App& verb, effect_place& place) {
  verb.add_option("--config-dir", place.config_dir, "Configuration directory, in place of the stored one")
      ->type_name("DIR");
}

void add_params(CLI::App& verb, std::vector<std::string>& params) {
  verb.add_option("-p,--param", params, "A parameter: NAME=V[,V...], or keyed: \"NAME=V@F V@F ...\"")
      ->type_name("NAME=V")
      ->expected(1)
      ->take_all();
}

void add_inputs(CLI::App& verb, std::vector<std::string>& inputs) {
  verb.add_option("-i,--input", inputs, "Input image or numbered sequence")
      ->type_name("[NAME=]IMAGE")
      ->expected(1)
      ->take_all();
}

void add_render(CLI::App& app, render_options& o) {
  CLI::App& verb = *app.add_subcommand("render", "Render an effect over images");
  verb.add_option("EFFECT", o.effect, "Name of the effect");
  add_place(verb, o.place);
  add_config_dir(verb, o.place);
  verb.add_option("-o,--output", o.output, "Image to write, numbered as shot.%04d.png or shot.####.png")
      ->type_name("OUT");
  add_inputs(verb, o.inputs);
  add_params(verb, o.params);
  verb.add_option("--frames", o.frames, "Frames to render: 7, 1-48, 1-48x2, 1-3,7,20-30x5, -3--1 (default: 0)")
      ->type_name("LIST");
  verb.add_option("--fps", o.fps, "Frames a second")->type_name("R")->capture_default_str();
  verb.add_option("--total-frames", o.total_frames, "Length of the clip (default: of the longest input)")
      ->type_name("N");
  verb.add_option("--size", o.size, "Layer size where there is no input (default: 1920x1080)")->type_name("WxH");
  verb.add_option("--pixel-format", o.pixel_format,
                  "rgba8, bgra8, rgba16 or bgra16 (default: rgba8 for 8-bit images, bgra16 for deeper ones)")
      ->type_name("F");
  verb.add_option("--downsample", o.downsample, "Render at 1/N (and 1/M in y) resolution")->type_name("N[xM]");
  verb.add_option("--pixel-aspect", o.pixel_aspect, "Pixel aspect ratio as a host reports it")
      ->type_name("R")
      ->capture_default_str();
  verb.add_option("--field", o.field, "0 frames, 1 upper or 2 lower field")->type_name("0|1|2")->capture_default_str();
  verb.add_option("--threads", o.threads, "Use at most N processors")->type_name("N");
  verb.add_option("--fix", o.fix_file, "Write the root's values of the one frame as a NumPy array")
      ->type_name("FILE.npy");
  verb.add_option("--missing", o.missing,
                  "What a frame missing from an input gives: error, black or hold. Functions of time that ask for a "
                  "frame before or after a sequence get its first or last one, unless black is asked for")
      ->capture_default_str();
  verb.add_flag("--skip-bad-frames", o.skip_bad_frames, "Go on after a frame that failed");
  verb.add_flag("--no-clobber", o.no_clobber, "Leave existing output files alone");
  verb.add_flag("--dry-run", o.dry_run, "Say what would be rendered and stop");
  verb.add_flag("--hash", o.hash, "Print each frame's number and the SHA-256 of its output pixels");
  verb.add_option("--progress", o.progress_file, "Progress as key=value lines; - is standard output")
      ->type_name("FILE");
  verb.add_flag("--stats", o.stats, "Print what each frame cost: seconds, planes, bytes");
}

void add_looks(CLI::App& app, look_options& o) {
  CLI::App& list = *app.add_subcommand("list", "List the effects that can be rendered");
  add_place(list, o.place);
  add_config_dir(list, o.place);
  list.add_flag("--json", o.json, "Print JSON");

  CLI::App& info = *app.add_subcommand("info", "Describe one effect: inputs, modifiers, parameters, tree");
  info.add_option("EFFECT", o.effect, "Name of the effect");
  add_place(info, o.place);
  add_config_dir(info, o.place);
  info.add_flag("--json", o.json, "Print JSON");

  CLI::App& plan = *app.add_subcommand("plan", "Show what the evaluator runs, after folding and pass-through");
  plan.add_option("EFFECT", o.effect, "Name of the effect");
  add_place(plan, o.place);
  add_config_dir(plan, o.place);
  add_params(plan, o.params);
  plan.add_option("--size", o.size, "Layer size (default: 1920x1080)")->type_name("WxH");
  auto* json = plan.add_flag("--json", o.json, "Print JSON");
  plan.add_flag("--dot", o.dot, "Print a graph for Graphviz")->excludes(json);

  CLI::App& check = *app.add_subcommand("check", "Read and bind every definition of a file, with all reports");
  check.add_option("FILE", o.files, "Definitions files")->required();
  add_config_dir(check, o.place);

  CLI::App& functions = *app.add_subcommand("functions", "Show the catalogue of node functions");
  functions.add_option("NAME", o.function, "One function: its reference page");
  functions.add_flag("--json", o.json, "Print JSON");
}

void add_about(CLI::App& app, about_options& o) {
  CLI::App& about = *app.add_subcommand("about", "Show the help window of an effect, or its text without a desktop");
  about.add_option("EFFECT", o.effect, "Name of the effect");
  add_place(about, o.place);
  add_config_dir(about, o.place);
  about.add_flag("--help-page", o.help_page, "Open the effect's page of the documentation at once");
}

void add_widgets(CLI::App& app, widgets_options& o) {
  CLI::App& verb = *app.add_subcommand("widgets", "Draw, drag or list the on-screen handles of an effect");
  verb.add_option("EFFECT", o.effect, "Name of the effect");
  add_place(verb, o.place);
  add_config_dir(verb, o.place);
  verb.add_option("-o,--output", o.output, "Image to write: the rendered picture with the handles over it")
      ->type_name("OUT");
  add_inputs(verb, o.inputs);
  add_params(verb, o.params);
  verb.add_option("--frame", o.frame, "Frame to show")->type_name("N")->capture_default_str();
  verb.add_option("--size", o.size, "Layer size where there is no input (default: 1920x1080)")->type_name("WxH");
  verb.add_option("--zoom", o.zoom, "Scale of the picture; handles keep their size")
      ->type_name("Z")
      ->capture_default_str();
  verb.add_option("--downsample", o.downsample, "Render at 1/N (and 1/M in y) resolution")->type_name("N[xM]");
  verb.add_option("--pixel-aspect", o.pixel_aspect, "Pixel aspect ratio as a host reports it")
      ->type_name("R")
      ->capture_default_str();
  verb.add_option("--pixel-format", o.pixel_format,
                  "rgba8, bgra8, rgba16 or bgra16 (default: rgba8 for 8-bit images, bgra16 for deeper ones)")
      ->type_name("F");
  verb.add_option("--show", o.show, "Turn on the handle of this name, or all, whatever the effect's default")
      ->type_name("all|NAME")
      ->expected(1)
      ->take_all();
  auto* drag = verb.add_option("--drag", o.drag,
                               "Drag the mouse along these places, in pixels of the full image; prints each changed "
                               "parameter as -p takes it, and writes OUT from before too, as NAME.before.EXT")
                   ->type_name("X0,Y0:X1,Y1[:...]");
  verb.add_flag("--json", o.json, "Print the widgets, their handles and where they are")->excludes(drag);
}

/// What the command line says to each verb.
struct verb_options {
  render_options render;
  look_options look;
  about_options about;
  widgets_options widgets;
};

int run_verb(const std::string& verb, const verb_options& options) {
  const look_options& look = options.look;
  if (verb == "render") return render_command(options.render);
  if (verb == "widgets") return widgets_command(options.widgets);
  if (verb == "about") return about_command(options.about);
  if (verb == "list") return list_command(look);
  if (verb == "info") return info_command(look);
  if (verb == "plan") return plan_command(look);
  if (verb == "check") return check_command(look);
  return functions_command(look);
}

/// An option that is given nothing, as by a script whose variable is unset, isn't one that was left out.
void refuse_empty_values(CLI::App& app) {
  const CLI::Validator not_empty([](const std::string& text) { return std::string(text.empty() ? "is empty" : ""); },
                                 "");
  for (CLI::App* verb : app.get_subcommands({}))
    for (CLI::Option* option : verb->get_options())
      if (option->get_type_size() > 0) option->check(not_empty);
}

int fail(const std::string& why, int status) {
  std::fflush(stdout);
  std::fprintf(stderr, "tessaron: %s\n", why.c_str());
  return status;
}

int refuse_command_line(const CLI::App& app, const std::string& why) {
  if (const auto given = app.get_subcommands(); !given.empty()) {
    fail(why, EXIT_COMMAND_LINE);
    std::fprintf(stderr, "Run tessaron %s --help for the options.\n", given.front()->get_name().c_str());
    return EXIT_COMMAND_LINE;
  }
  std::vector<std::string> verbs;
  for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; }))
    verbs.push_back(verb->get_name());
  const std::vector<std::string> rest = app.remaining();
  const std::string got = rest.empty() ? "." : "; got '" + rest.front() + "'." + suggestion(rest.front(), verbs);
  fail("expected a verb: " + joined(verbs) + got, EXIT_COMMAND_LINE);
  std::fputs("Run tessaron --help for what they do.\n", stderr);
  return EXIT_COMMAND_LINE;
}

int run(int argc, char** argv) {
  CLI::App app("Renders image effects from text definitions", "tessaron");
  verb_options options;
  app.set_version_flag("--version", version_text, "Print the version and stop");
  app.require_subcommand(1);
  add_render(app, options.render);
  add_looks(app, options.look);
  add_about(app, options.about);
  add_widgets(app, options.widgets);
  refuse_empty_values(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& asked) {  // for help or the version
    return app.exit(asked);
  } catch (const CLI::ParseError& fault) {
    return refuse_command_line(app, fault.what());
  }
  send_notes_to_standard_error();
  try {
    return run_verb(app.get_subcommands().front()->get_name(), options);
  } catch (const command_line_error& fault) {
    return refuse_command_line(app, fault.what());
  } catch (const std::bad_alloc&) {
    return fail("not enough memory", EXIT_WORK_FAILED);
  } catch (const std::exception& fault) {
    return fail(fault.what(), EXIT_WORK_FAILED);
  }
}

}  // namespace
}  // namespace tessaron::console

int main(int argc, char** argv) {
  const int status = tessaron::console::run(argc, argv);
  // Results that did not reach standard output are a failure, a closed pipe or a full disk for one.
  const bool printed = std::fflush(stdout) == 0 && !std::ferror(stdout);
  if (!printed && status == tessaron::console::EXIT_DONE) {
    std::perror("tessaron: standard output");
    return tessaron::console::EXIT_WORK_FAILED;
  }
  return status;
}
