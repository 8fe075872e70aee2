// Widget declarations: the widget entries of an effect's parameters, put together into widgets with a checkbox each.
#pragma once

#include "genotype/genotype.h"
#include "tessaron/host_interface.h"

namespace tessaron {

/// Whether the parts of a plug-in's widgets carry instance numbers: all of them, or none.
enum class widget_numbering { unknown, numbered, not_numbered };

/// Fills the genotype's list of widgets from its parameters. Faults are reported, and a widget goes on with what it
/// has. `numbering` is carried from effect to effect of a plug-in.
void gather_widgets(genotype& g, widget_numbering& numbering);
/// The same of all effects of the plug-in whose record is current.
void gather_plugin_widgets();

/// The parameter of a part; null where the genotype hasn't got it.
param* param_of_part(const genotype& g, const widget_part& part);
/// The part in a slot of the widget's base type; null: the widget hasn't got it.
const widget_part* part_in_slot(const widget_declaration& w, int slot);
/// The checkbox that switches a widget: its own, another widget's, or a parameter of the effect. Null: it has none.
param* enable_of_widget(const genotype& g, const widget_declaration& w);
/// What the host shows for a widget's checkbox, without the "Show ".
const char* widget_shown_name(const widget_declaration& w);

/// Marks all checkboxes as not declared yet.
void start_enable_placement(genotype& g);
/// The next checkbox to declare behind parameter k, or behind all of them (k = n_params). Null: no more there.
widget_declaration* next_enable_behind(genotype& g, int k);
/// Gives the checkboxes of the plug-in's other effects the host places of the first one's, widget by widget.
void share_enable_places();

}  // namespace tessaron
