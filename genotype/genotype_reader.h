// Reads effect definitions into genotypes.
#pragma once

#include <vector>

#include "genotype/genotype.h"

namespace tessaron {

/// Reads the rest of a definition, after its name, from the reader's source. Null after an error.
genotype* read_genotype(const char* name);
void free_genotype(genotype* g);
void release_param(param* p);
/// A checkbox that no definition declares, with one reference.
param* new_toggle(const char* name, bool on);
/// Releases what a widget owns.
void release_widget(widget_declaration& w);
/// Releases the widgets of a genotype, which then has none.
void free_widget_list(genotype& g);

/// Searches the source for `( define` or `( def_effect` and reads the name token (TOKEN_SIZE bytes).
/// False at the end. Keeps the comment block in front of the bracket for the next read_genotype().
bool find_next_definition(char* name);

/// Loaders: fill Globals->genotypes. Failures report and take the fatal exit.
void load_effects_from_strings();
void load_effect_by_name(const char* name, const char* path);
void load_effect_by_index(int index, const char* path);
/// The first definition of a text, or null after a report. Prepares the engine, stores nothing.
genotype* load_effect_from_string(const char* text);

/// A private copy: the genotype, its nodes with arguments rebound, its params (reference count 1);
/// names, pages, groups and the popup name stay the original's (shares_strings).
genotype* copy_genotype(const genotype& g);

/// The statement #ref.
int goto_def(const char* name, genotype& g);

/// Reads the list behind an assignment into the node's param, if there is one.
int maybe_read_param_info_for_node_i(genotype& g, int node_index);
void set_screen_mode(param& p, int mode);
void set_elnum_name(char* dst, int e, int elnum);
int read_genotype_modifiers(genotype& g);
int default_input_channels(const genotype& g, const char* input_name, const char* effect_name);

/// Everything behind the statements: snapping, order, combos, constants, planes. False after a report.
bool bind_genotype(genotype& g);

/// Parts of binding that are run again at render time.
void set_genotype_arg_ptrs(genotype& g);           // rows, args, arg_consts, arg_rows of every node
bool choose_combo(node& n);                        // first fitting combo; sets elnum and kernels
void set_image_counts(genotype& g, bool cache_all);
void mark_time_dependency(genotype& g, bool compare_values);
void set_share_counts(genotype& g);
void assign_image_planes(genotype& g);
void mark_regions(genotype& g);

/// Indices of the nodes that fill images, in the order in which planes are assigned to them and in which
/// they are made: arguments before users, the image of an operator behind its other arguments.
std::vector<int> list_image_nodes(const genotype& g);
/// Finds images whose planes another node of a frame would write over while they are still wanted, and
/// shares them. True when planes have to be assigned anew.
bool share_overwritten_images(genotype& g);

/// A failed combo's list of element counts: "%s arg elnums: %s has %d, ...".
void report_arg_elnums(const node& n);

/// Stores a parameter's value into the constants of the node that reads it.
void store_param_in_node(param& p);

extern int node_capacity_hint;
/// A capacity hint for each effect of the plug-in, or null. load_effects_from_strings() clears it.
extern const std::int32_t* effect_capacity_hints;
extern int dependency_analysis;      // on by default
extern int cache_static_branches;    // on by default
extern int image_every_node;         // off by default
extern bool tables_ready;
/// The host adapter's part in a read: how to read the configuration (null: none), and the offset in
/// degrees that its angle dials start from (90 under Digital Fusion).
extern void (*read_configuration)();
extern std::int16_t angle_dial_offset;

/// Builds tables and the catalogue, once.
void set_tables_and_globals();

// The evaluator provides what follows.

void build_tables();
/// The cache reader that row_kernel becomes on nodes whose planes hold their value (evaluator).
void read_cached_row(node& n);
void read_cached_row_stepped(node& n);
/// What choose_combo() makes the row kernel of an image operator: one of the two above. The stepped
/// one stands here only while a render samples at a step above 1.
extern node_kernel operator_cache_reader;

}  // namespace tessaron
