#pragma once

#include "Tools/vantrel/TextTable.hpp"

#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>

namespace vantrel {
class JSONWriter;
}

namespace vantrel::cli {

/// How a run prints: JSON for scripts or text for people, with colour or without, and whether the lines
/// that confirm a change are wanted.
struct OutputStyle {
  bool json = false;
  bool color = false;
  bool quiet = false;
};

/// The one way a command reports: every view, confirmation and warning of a run goes through here, to the
/// streams the program was given. A command that changes the planner holds its output until the change is
/// on disk, so nothing is reported that a crash could still take back.
class Output {
public:
  using Tone = TextTone;

  Output(std::ostream& out, std::ostream& err, OutputStyle style);

  bool json() const { return style_.json; }
  bool quiet() const { return style_.quiet; }

  /// Free-form text for people.
  std::ostream& text() { return held_ ? heldText_ : out_; }
  /// A finished JSON document, on a line of its own.
  void print(const JSONWriter& json);
  /// An aligned table for people; nothing for an empty one.
  void print(const TextTable& table);
  /// The line that says what a change did, e.g. "Added task 'Call Anna' (t-1a2b3c)": text for people, or
  /// {"message": ...} for scripts. `-q` silences both.
  void changed(std::string_view line);
  /// A warning on standard error after the program's name, shown safe for a terminal.
  void warn(std::string_view message);
  /// Asks a yes-or-no question on the terminal (standard error), "no" unless answered "y" or "yes"; none
  /// when nobody is there to answer (standard input or error is not a terminal).
  std::optional<bool> ask(std::string_view question);

  /// `text` in the tone's colour when colour is on; terminal-safe either way.
  std::string paint(std::string_view text, Tone tone) const;

  /// Keeps what is printed until `release` (the change is on disk) or `discard` (it failed).
  void hold();
  void release();
  void discard();

  /// Whether a stream is a terminal the user watches (colour and questions make sense there).
  static bool isTerminal(const std::ostream& stream);
  /// Colour by default on a terminal, unless NO_COLOR is set to something or TERM is "dumb".
  static bool colorByDefault(const std::ostream& stream);

private:
  /// Text already made terminal-safe, in the tone's colour when colour is on.
  std::string colored(std::string_view shown, TextTone tone) const;

  std::ostream& out_;
  std::ostream& err_;
  OutputStyle style_;
  bool held_ = false;
  std::ostringstream heldText_;
};

} // namespace vantrel::cli
