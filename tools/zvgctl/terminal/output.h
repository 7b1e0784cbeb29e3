// What a command prints on standard output: text for people, or JSON for programs.
#ifndef ZVGCTL_OUTPUT_H
#define ZVGCTL_OUTPUT_H

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <vector>

#include "service/board/error.h"
#include "service/json.h"
#include "service/seam/library_messages.h"
#include "zvgctl/terminal/table.h"

namespace zvgctl {

using zvg::Json;

// Colour is for terminals, and for those who did not set NO_COLOR.
bool use_colour(int fd);

// Keeps standard output for JSON: from now on what anything else prints there, such as the
// library's messages, goes to standard error.
void reserve_stdout_for_json();

// The same for a file that a command writes to standard output: returns a descriptor of it, which
// is the caller's. Throws a usage Failure with --json, whose document is there.
int take_stdout_for_data();

// How messages call a file that is written: its path, or "standard output".
std::string output_name(const std::string& path);

// Puts standard output back in its place, for the program that replaces this one.
void give_stdout_back();

// Tells whether documents are printed, and what they are called: their first key is "schema":
// "zvg/NAME/1".
void begin_output(bool json, const std::string& name);

// Prints one document on the real standard output, indented, when the command has ended: should it
// fail after this, the document says so. Lists become an object with one member of that name.
void print_json(const Json& document);
void print_json(const char* member, const Json& list);

// Prints one document on a line, at once.
void print_json_line(const Json& document);

// With --json, what the command ended by becomes the document's "error", or a document of its own
// when there is none.
void put_error_into_json(const zvg::Error& error, const std::string& message);

using zvg::QuietStdout;
using zvg::StdoutOnStderr;

// Writes out everything that was printed. Throws a Failure when it did not all get there.
void finish_output();

// Lines of 16 bytes: the address of the first item with that many digits, then the items.
void print_hex_dump(uint64_t address, int address_digits, unsigned width,
                    std::span<const uint64_t> values);

const char* yes_no(bool value);

}  // namespace zvgctl

#endif  // ZVGCTL_OUTPUT_H
