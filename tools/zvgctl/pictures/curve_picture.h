// The three curves of a lookup table, as text and as a picture.
#ifndef ZVGCTL_CURVE_PICTURE_H
#define ZVGCTL_CURVE_PICTURE_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace zvgctl {

// Red, green, blue: 256 values from 0 to 65535 each.
using Curves = std::array<std::vector<uint16_t>, 3>;

// Lines of text: output against input, a letter where a curve is, W where all three are, in colour
// if the terminal takes it.
std::string curves_text(const Curves& curves, bool colour);

// A file's content. Throws a Failure when it cannot be made.
std::string curves_svg(const Curves& curves, const std::string& title);
std::string curves_png(const Curves& curves, const std::string& title);

}  // namespace zvgctl

#endif  // ZVGCTL_CURVE_PICTURE_H
