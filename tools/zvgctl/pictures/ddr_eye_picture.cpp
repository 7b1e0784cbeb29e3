#include "zvgctl/pictures/ddr_eye_picture.h"

#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

// Lengths in pixels.
constexpr double cell_width = 15;
constexpr double cell_height = 6;
constexpr double page_margin = 28;
constexpr double title_height = 34;
constexpr double head_height = 40;
constexpr double left_labels = 52;
constexpr double bottom_labels = 46;
constexpr double panel_gap = 26;
constexpr double legend_height = 46;
constexpr int margin_rows = 8;  // voltage steps around what was met
constexpr int fewest_rows = 24;
constexpr double panel_width = cell_width * Eye::columns;
constexpr double png_scale = 2;

struct Colour {
  double red, green, blue;
};

constexpr Colour ink = {0.13, 0.15, 0.19};
constexpr Colour faint_ink = {0.45, 0.48, 0.54};
constexpr Colour grid = {0.90, 0.91, 0.93};
constexpr Colour panel = {0.985, 0.985, 0.99};
constexpr Colour opening_fill = {0.86, 0.94, 0.89};
constexpr Colour measure = {0.02, 0.42, 0.27};

// From little to much: light enough to see on the panel, dark where edges meet.
constexpr std::array<Colour, 6> heat = {{{0.99, 0.83, 0.52},
                                         {0.97, 0.62, 0.36},
                                         {0.88, 0.39, 0.35},
                                         {0.68, 0.22, 0.42},
                                         {0.42, 0.12, 0.43},
                                         {0.16, 0.05, 0.30}}};

Colour heat_colour(double part) {
  const double at = std::clamp(part, 0.0, 1.0) * (heat.size() - 1);
  const auto first = std::min(static_cast<size_t>(at), heat.size() - 2);
  const double rest = at - static_cast<double>(first);
  const Colour& a = heat[first];
  const Colour& b = heat[first + 1];
  return {a.red + rest * (b.red - a.red), a.green + rest * (b.green - a.green),
          a.blue + rest * (b.blue - a.blue)};
}

double heat_part(uint32_t hits, uint32_t most) {
  return most <= 1 ? 1 : std::log(hits) / std::log(most);
}

enum class Align { left, middle, right };

class Canvas {
 public:
  explicit Canvas(cairo_surface_t* surface) : context_(cairo_create(surface)) {}
  ~Canvas() { cairo_destroy(context_); }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  cairo_t* context() { return context_; }

  void use(const Colour& colour, double alpha = 1) {
    cairo_set_source_rgba(context_, colour.red, colour.green, colour.blue, alpha);
  }
  void rectangle(double x, double y, double width, double height, const Colour& colour,
                 double alpha = 1) {
    use(colour, alpha);
    cairo_rectangle(context_, x, y, width, height);
    cairo_fill(context_);
  }
  void line(double x1, double y1, double x2, double y2, const Colour& colour, double width = 1) {
    use(colour);
    cairo_set_line_width(context_, width);
    cairo_move_to(context_, x1, y1);
    cairo_line_to(context_, x2, y2);
    cairo_stroke(context_);
  }
  void text(double x, double y, const std::string& text, double size, const Colour& colour,
            Align align = Align::left, bool bold = false) {
    cairo_select_font_face(context_, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context_, size);
    cairo_text_extents_t extents;
    cairo_text_extents(context_, text.c_str(), &extents);
    const double shift = align == Align::left     ? 0
                         : align == Align::middle ? extents.x_advance / 2
                                                  : extents.x_advance;
    use(colour);
    cairo_move_to(context_, x - shift, y);
    cairo_show_text(context_, text.c_str());
  }
  // Text on a patch of its own, so that it can be read wherever it is.
  void label(double x, double y, const std::string& words, Align align) {
    constexpr double size = 13;
    cairo_select_font_face(context_, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
    cairo_set_font_size(context_, size);
    cairo_text_extents_t extents;
    cairo_text_extents(context_, words.c_str(), &extents);
    const double left = align == Align::left     ? x
                        : align == Align::middle ? x - extents.x_advance / 2
                                                 : x - extents.x_advance;
    rectangle(left - 4, y - size, extents.x_advance + 8, size + 5, opening_fill, 0.92);
    text(left, y, words, size, measure, Align::left, true);
  }

 private:
  cairo_t* context_;
};

// One eye and where it is on the page.
class Panel {
 public:
  Panel(Canvas& canvas, const Eye& eye, double x, double y, int lowest, int highest)
      : canvas_(canvas),
        eye_(eye),
        x_(x),
        y_(y),
        lowest_(lowest),
        highest_(highest),
        opening_(eye.opening()) {}

  void draw(const char* title) {
    draw_background();
    draw_cells();
    draw_axes(title);
    draw_opening();
  }

  static double height(int lowest, int highest) { return cell_height * (highest - lowest + 1); }

 private:
  double left(double column) const { return x_ + column * cell_width; }
  // The upper end of a row; row + 0.5 is its middle, upwards.
  double top(double row) const { return y_ + (highest_ - row) * cell_height; }
  double bottom() const { return top(lowest_) + cell_height; }

  void draw_background() {
    canvas_.rectangle(x_, y_, panel_width, height(lowest_, highest_), panel);
    for (int row = first_tick(); row <= highest_; row += tick_step) {
      const double y = std::round(top(row) + cell_height / 2) + 0.5;
      canvas_.line(x_, y, x_ + panel_width, y, grid);
      canvas_.text(x_ - 8, y + 4, std::to_string(row), 11, faint_ink, Align::right);
    }
    for (int column = 0; column < Eye::columns; column += 5) {
      const double x = std::round(left(column + 0.5)) + 0.5;
      canvas_.line(x, y_, x, bottom(), grid);
      canvas_.text(x, bottom() + 16,
                   column == Eye::middle ? "0" : format("%+d", column - Eye::middle), 11, faint_ink,
                   Align::middle);
    }
  }

  void draw_cells() {
    const uint32_t most = eye_.highest_count();
    // Cells touch: without this, the renderer lets the ground shine through between them.
    cairo_set_antialias(canvas_.context(), CAIRO_ANTIALIAS_NONE);
    for (int column = 0; column < Eye::columns; ++column) {
      for (int row = lowest_; row <= highest_; ++row) {
        const uint32_t hits = eye_.count(column, row);
        if (hits == 0 && !opening_.contains(column, row)) continue;
        const Colour colour = hits == 0 ? opening_fill : heat_colour(heat_part(hits, most));
        canvas_.rectangle(left(column), top(row), cell_width, cell_height, colour);
      }
    }
    cairo_set_antialias(canvas_.context(), CAIRO_ANTIALIAS_DEFAULT);
  }

  void draw_axes(const char* title) {
    canvas_.use(faint_ink);
    cairo_set_line_width(canvas_.context(), 1);
    cairo_rectangle(canvas_.context(), std::round(x_) - 0.5, std::round(y_) - 0.5, panel_width + 1,
                    height(lowest_, highest_) + 1);
    cairo_stroke(canvas_.context());
    canvas_.text(x_ + panel_width / 2, bottom() + 34, "delay step", 12, faint_ink, Align::middle);
    cairo_t* const context = canvas_.context();
    cairo_save(context);
    cairo_translate(context, x_ - 38, (y_ + bottom()) / 2);
    cairo_rotate(context, -M_PI / 2);
    canvas_.text(0, 0, "voltage step", 12, faint_ink, Align::middle);
    cairo_restore(context);
    canvas_.text(x_, y_ - 12, title, 15, ink, Align::left, true);
  }

  void draw_arrow(double x1, double y1, double x2, double y2) {
    constexpr double head = 5;
    canvas_.line(x1, y1, x2, y2, measure, 1.5);
    const double angle = std::atan2(y2 - y1, x2 - x1);
    const struct { double x, y, angle; } ends[] = {{x1, y1, angle}, {x2, y2, angle + M_PI}};
    for (const auto& end : ends) {
      for (const double side : {0.45, -0.45}) {
        canvas_.line(end.x, end.y, end.x + head * std::cos(end.angle + side),
                     end.y + head * std::sin(end.angle + side), measure, 1.5);
      }
    }
  }

  void draw_opening() {
    const Eye::Opening& opening = opening_;
    const double right = x_ + panel_width;
    if (!opening.open) {
      canvas_.text(right, y_ - 12, eye_.empty() ? "nothing was scanned" : "closed in the middle",
                   13, faint_ink, Align::right);
      return;
    }
    const double middle = left(Eye::middle + 0.5);
    const double centre = top(opening.centre_row()) + cell_height / 2;
    draw_arrow(left(opening.first_column), centre, left(opening.last_column + 1), centre);
    draw_arrow(middle, top(opening.last_row), middle, top(opening.first_row) + cell_height);
    canvas_.label(left(opening.first_column + (Eye::middle - opening.first_column) / 2.0 + 0.5),
                  centre - 8, format("width %d", opening.width()), Align::middle);
    canvas_.label(middle + 8, (top(opening.last_row) + centre) / 2 + 6,
                  format("height %d", opening.height()), Align::left);
    canvas_.text(right, y_ - 12,
                 format("%d × %d steps, centre at voltage %d", opening.width(), opening.height(),
                        opening.centre_row()),
                 13, ink, Align::right);
  }

  static constexpr int tick_step = 10;
  int first_tick() const { return (lowest_ + tick_step - 1) / tick_step * tick_step; }

  Canvas& canvas_;
  const Eye& eye_;
  const double x_, y_;
  const int lowest_, highest_;
  const Eye::Opening opening_;
};

// The voltage steps that a channel's panels show.
struct Range {
  int lowest = Eye::rows;
  int highest = -1;

  explicit Range(const ChannelEyes& eyes) {
    for (const Eye* eye : {&eyes.read, &eyes.write}) {
      if (eye->empty()) continue;
      lowest = std::min(lowest, eye->lowest());
      highest = std::max(highest, eye->highest());
    }
    if (highest < 0) {
      lowest = 0;
      highest = fewest_rows;
      return;
    }
    lowest = std::max(lowest - margin_rows, 0);
    highest = std::min(std::max(highest + margin_rows, lowest + fewest_rows), Eye::rows - 1);
  }
};

constexpr double page_width = 2 * (left_labels + panel_width) + panel_gap + 2 * page_margin;

double channel_height(const ChannelEyes& eyes) {
  const Range range(eyes);
  return head_height + Panel::height(range.lowest, range.highest) + bottom_labels;
}

void draw_legend(Canvas& canvas, double y) {
  constexpr double width = 180;
  constexpr int steps = 60;
  const double x = page_margin + left_labels;
  canvas.text(x, y + 11, "edges met: few", 12, faint_ink);
  const double begin = x + 102;
  for (int i = 0; i < steps; ++i) {
    canvas.rectangle(begin + i * width / steps, y, width / steps + 0.5, 14,
                     heat_colour(static_cast<double>(i) / (steps - 1)));
  }
  canvas.text(begin + width + 8, y + 11, "many (logarithmic, each eye on its own)", 12, faint_ink);
  const double open = begin + width + 280;
  canvas.rectangle(open, y, 22, 14, opening_fill);
  canvas.text(open + 30, y + 11, "open: between the edges of every lane", 12, faint_ink);
}

void draw(Canvas& canvas, const std::vector<ChannelEyes>& channels, double height) {
  canvas.rectangle(0, 0, page_width, height, {1, 1, 1});
  canvas.text(page_margin, page_margin + 16, "DDR training eyes", 20, ink, Align::left, true);
  double y = page_margin + title_height;
  for (const ChannelEyes& eyes : channels) {
    const Range range(eyes);
    const std::string name = format("Channel %u ", eyes.channel);
    const char* const cut = eyes.complete ? "" : " (incomplete)";
    double x = page_margin + left_labels;
    Panel(canvas, eyes.read, x, y + head_height, range.lowest, range.highest)
        .draw((name + "read" + cut).c_str());
    x += panel_width + panel_gap + left_labels;
    Panel(canvas, eyes.write, x, y + head_height, range.lowest, range.highest)
        .draw((name + "write" + cut).c_str());
    y += channel_height(eyes);
  }
  draw_legend(canvas, y + 12);
}

cairo_status_t append(void* content, const unsigned char* bytes, unsigned size) {
  static_cast<std::string*>(content)->append(reinterpret_cast<const char*>(bytes), size);
  return CAIRO_STATUS_SUCCESS;
}

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

void check(cairo_status_t status) {
  if (status != CAIRO_STATUS_SUCCESS) {
    fail("cannot draw the picture: %s", cairo_status_to_string(status));
  }
}

}  // namespace

std::string eyes_picture(const std::vector<ChannelEyes>& channels, PictureFormat format) {
  double height = 2 * page_margin + title_height + legend_height;
  for (const ChannelEyes& eyes : channels) height += channel_height(eyes);
  std::string content;
  if (format == PictureFormat::svg) {
    const Surface surface(cairo_svg_surface_create_for_stream(append, &content, page_width, height),
                          cairo_surface_destroy);
    {
      Canvas canvas(surface.get());
      draw(canvas, channels, height);
      check(cairo_status(canvas.context()));
    }
    cairo_surface_finish(surface.get());
    check(cairo_surface_status(surface.get()));
    return content;
  }
  const Surface surface(
      cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(page_width * png_scale),
                                 static_cast<int>(std::ceil(height * png_scale))),
      cairo_surface_destroy);
  {
    Canvas canvas(surface.get());
    cairo_scale(canvas.context(), png_scale, png_scale);
    draw(canvas, channels, height);
    check(cairo_status(canvas.context()));
  }
  check(cairo_surface_write_to_png_stream(surface.get(), append, &content));
  return content;
}

}  // namespace zvgctl
