// What the library prints, on its way to the terminal. It prints what boards, monitors and files
// hold as it finds it, and has colours of its own.
#ifndef ZVGCTL_LIBRARY_TEXT_H
#define ZVGCTL_LIBRARY_TEXT_H

#include <initializer_list>
#include <string_view>

#include "service/seam/output.h"

namespace zvgctl {

// Prints a piece of it on the tool's own stream: control characters are shown escaped, and colours
// are left out where there is no terminal or NO_COLOR is set.
void print_library_text(zvg::seam::Stream stream, std::string_view text);

// Prints what a piece had begun and no other has ended.
void finish_library_text();

// Which colours are the library's, in the reports that follow; others are somebody's data. Those of
// the EDID report unless told. colours: "1;31" and so on.
void expect_library_colours(std::initializer_list<std::string_view> colours);

}  // namespace zvgctl

#endif  // ZVGCTL_LIBRARY_TEXT_H
