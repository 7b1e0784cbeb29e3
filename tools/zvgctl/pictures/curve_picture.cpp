#include "zvgctl/pictures/curve_picture.h"

#include <cairo-svg.h>
#include <cairo.h>

#include <memory>

#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

// Characters of the text.
constexpr size_t columns = 64;
constexpr size_t rows = 20;

constexpr double full_scale = 65535;

// Pixels of the picture.
constexpr double plot = 512;
constexpr double left = 64;
constexpr double top = 48;
constexpr double right = 24;
constexpr double bottom = 56;
constexpr double page_width = left + plot + right;
constexpr double page_height = top + plot + bottom;
constexpr double png_scale = 2;
constexpr int divisions = 4;

struct Colour {
  double red, green, blue;
};

constexpr Colour ink = {0.13, 0.15, 0.19};
constexpr Colour grid = {0.88, 0.89, 0.92};
constexpr std::array<Colour, 3> curve_colours = {
    {{0.80, 0.15, 0.15}, {0.10, 0.55, 0.20}, {0.15, 0.30, 0.80}}};
constexpr const char* curve_names[] = {"red", "green", "blue"};

// How a set of channels is drawn in text: bit 0 red, 1 green, 2 blue.
struct Mark {
  char letter;
  const char* colour;
};
constexpr Mark marks[] = {{' ', ""},         {'R', "\033[31m"}, {'G', "\033[32m"},
                          {'Y', "\033[33m"}, {'B', "\033[34m"}, {'M', "\033[35m"},
                          {'C', "\033[36m"}, {'W', "\033[1m"}};

size_t row_of(uint16_t value) {
  return static_cast<size_t>(value * (rows - 1) / full_scale + 0.5);
}

double x_of(double input) {
  return left + input * plot;
}
double y_of(double output) {
  return top + (1 - output) * plot;
}

void set(cairo_t* context, const Colour& colour) {
  cairo_set_source_rgb(context, colour.red, colour.green, colour.blue);
}

void text(cairo_t* context, double x, double y, double align, const std::string& words) {
  cairo_text_extents_t extents;
  cairo_text_extents(context, words.c_str(), &extents);
  cairo_move_to(context, x - align * extents.x_advance, y);
  cairo_show_text(context, words.c_str());
}

void line(cairo_t* context, double x1, double y1, double x2, double y2) {
  cairo_move_to(context, x1, y1);
  cairo_line_to(context, x2, y2);
  cairo_stroke(context);
}

void draw(cairo_t* context, const Curves& curves, const std::string& title) {
  cairo_set_source_rgb(context, 1, 1, 1);
  cairo_paint(context);
  cairo_select_font_face(context, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(context, 15);
  set(context, ink);
  text(context, left, top - 18, 0, title);
  cairo_set_font_size(context, 12);
  cairo_set_line_width(context, 1);
  for (int i = 0; i <= divisions; ++i) {
    const double at = static_cast<double>(i) / divisions;
    set(context, grid);
    line(context, x_of(at), y_of(0), x_of(at), y_of(1));
    line(context, x_of(0), y_of(at), x_of(1), y_of(at));
    set(context, ink);
    text(context, x_of(at), y_of(0) + 18, 0.5, format("%d", i * 256 / divisions));
    text(context, x_of(0) - 8, y_of(at) + 4, 1, format("%d", i * 65536 / divisions));
  }
  text(context, x_of(0.5), y_of(0) + 40, 0.5, "input");
  cairo_set_line_width(context, 2);
  cairo_set_line_join(context, CAIRO_LINE_JOIN_ROUND);
  for (size_t c = 0; c < curves.size(); ++c) {
    set(context, curve_colours[c]);
    cairo_new_path(context);
    for (size_t i = 0; i < curves[c].size(); ++i) {
      cairo_line_to(context, x_of(static_cast<double>(i) / 256), y_of(curves[c][i] / 65536.0));
    }
    cairo_stroke(context);
    text(context, x_of(1) - 8 - 48 * static_cast<double>(curves.size() - 1 - c), top - 18, 1,
         curve_names[c]);
  }
}

cairo_status_t append(void* content, const unsigned char* bytes, unsigned size) {
  static_cast<std::string*>(content)->append(reinterpret_cast<const char*>(bytes), size);
  return CAIRO_STATUS_SUCCESS;
}

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Drawing = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

void check(cairo_status_t status) {
  if (status != CAIRO_STATUS_SUCCESS) {
    fail("cannot draw the curves: %s", cairo_status_to_string(status));
  }
}

}  // namespace

std::string curves_text(const Curves& curves, bool colour) {
  std::array<std::array<unsigned, columns>, rows> cells{};
  for (size_t column = 0; column < columns; ++column) {
    const size_t input = column * 255 / (columns - 1);
    for (unsigned c = 0; c < curves.size(); ++c) cells[row_of(curves[c][input])][column] |= 1u << c;
  }
  std::string lines;
  for (size_t row = rows; row-- > 0;) {
    const bool labelled = row == 0 || row == rows - 1;
    lines += labelled ? format("%5d |", row == 0 ? 0 : 65535) : std::string("      |");
    std::string cell_line;
    for (const unsigned set : cells[row]) {
      const Mark& mark = marks[set];
      if (colour && set != 0) {
        cell_line += std::string(mark.colour) + mark.letter + "\033[0m";
      } else {
        cell_line += mark.letter;
      }
    }
    cell_line.erase(cell_line.find_last_not_of(' ') + 1);
    lines += cell_line + "\n";
  }
  lines += "      +" + std::string(columns, '-') + "\n";
  lines += "       0" + std::string(columns - 4, ' ') + "255\n";
  return lines;
}

std::string curves_svg(const Curves& curves, const std::string& title) {
  std::string content;
  const Surface surface(
      cairo_svg_surface_create_for_stream(append, &content, page_width, page_height),
      cairo_surface_destroy);
  {
    const Drawing drawing(cairo_create(surface.get()), cairo_destroy);
    draw(drawing.get(), curves, title);
    check(cairo_status(drawing.get()));
  }
  cairo_surface_finish(surface.get());
  check(cairo_surface_status(surface.get()));
  return content;
}

std::string curves_png(const Curves& curves, const std::string& title) {
  std::string content;
  const Surface surface(
      cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(page_width * png_scale),
                                 static_cast<int>(page_height * png_scale)),
      cairo_surface_destroy);
  {
    const Drawing drawing(cairo_create(surface.get()), cairo_destroy);
    cairo_scale(drawing.get(), png_scale, png_scale);
    draw(drawing.get(), curves, title);
    check(cairo_status(drawing.get()));
  }
  check(cairo_surface_write_to_png_stream(surface.get(), append, &content));
  return content;
}

}  // namespace zvgctl
