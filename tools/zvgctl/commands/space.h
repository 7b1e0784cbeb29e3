// An address space with numbers in it: what reg, vram, amba, kmem, crtc, pci and ioport have in
// common, so that their read and write commands look and behave alike.
#ifndef ZVGCTL_SPACE_H
#define ZVGCTL_SPACE_H

#include <cstdint>
#include <string>
#include <vector>

#include "service/number.h"
#include "zvgctl/connection.h"
#include "zvgctl/context.h"

namespace CLI {
class App;
}

namespace zvgctl {

struct Space {
  const char* name;             // of the family, and of the space in JSON
  const char* noun;             // for messages: "register"
  const char* argument;         // what the help calls an address
  int digits;                   // hex digits of an address
  uint64_t last;                // the last address
  unsigned fixed_width;         // bytes of every access; 0 when --width chooses
  bool aligned;                 // an address must be a multiple of the width
  void (*check)(const Route&);  // throws when they do not lead to the space
  uint64_t (*read)(Connection&, uint64_t address, unsigned width);
  void (*write)(Connection&, uint64_t address, unsigned width, uint64_t value);
};

// The addresses of one command, settled and checked.
struct Span {
  uint64_t first;
  unsigned width;  // bytes
  uint64_t count;  // of accesses, one behind the other
};

// Throw a Failure for an address that the space does not have (exit 1), or that makes no sense
// with the other arguments (usage).
void check_span(const Space& space, const Span& span);
Span parse_span(const Space& space, const std::string& addresses, const std::string& width,
                const std::string& count);

std::vector<uint64_t> read_span(const Space& space, Connection& connection, const Span& span);

// Reads what was written and throws a Failure when its bits of the mask are not what they were
// meant to be.
void verify_written(const Space& space, Connection& connection, const Span& span,
                    const std::vector<uint64_t>& values, uint64_t mask);

// One value as "ADDRESS: 0xVALUE", more of them as a hex dump; with JSON as a document.
void print_span(const Space& space, const Context& context, const Span& span,
                const std::vector<uint64_t>& values);

// The commands "read ADDR[-ADDR] [--width] [--count]" and "write ADDR VALUE..." of a family.
// examples: for the end of the help text. question: what confirm() asks about before a write;
// null when a write is nothing to ask about.
CLI::App* add_read_command(CLI::App& family, Context& context, const Space& space,
                           const char* examples);
CLI::App* add_write_command(CLI::App& family, Context& context, const Space& space,
                            const char* question, const char* examples);

// A family's own command, which needs exactly one of its subcommands.
CLI::App& add_family(CLI::App& application, const char* name, const char* description,
                     const char* examples);

// The option --verify.
void add_verify_option(CLI::App& command, bool& verify);

// The option --width, 32 unless given.
void add_width_option(CLI::App& command, std::string& width);

}  // namespace zvgctl

#endif  // ZVGCTL_SPACE_H
