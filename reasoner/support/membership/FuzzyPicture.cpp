#include "reasoner/support/membership/FuzzyPicture.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numeric>
#include <utility>
#include <vector>

#include "reasoner/support/Numbers.h"
#include "reasoner/support/Unicode.h"
#include "reasoner/support/membership/PieceBuilder.h"

namespace reasoner {

namespace {

// Colours that stay apart on white paper and for colour-blind eyes; sets beyond them start over in
// another dash.
constexpr std::array<std::string_view, 8> kColours = {"#0072B2", "#D55E00", "#009E73", "#CC79A7",
                                                      "#56B4E9", "#E69F00", "#000000", "#8B4513"};
constexpr std::array<std::string_view, 4> kDashes = {"", "8 4", "2 3", "10 3 2 3"};

constexpr double kLeft = 60;
constexpr double kRight = 20;
constexpr double kTop = 50;
constexpr double kAxisHeight = 50;
constexpr double kLegendRow = 20;
constexpr double kLetter = 7;  // how wide a character of a legend is taken to be
constexpr std::size_t kLegendLetters = 40;

// Texts as XML shows them: what is markup escaped, what XML cannot hold replaced.
std::string Escaped(std::string_view text) {
  constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  std::string escaped;
  for (const char character : CleanUtf8(text, true)) {
    switch (character) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default: {
        const bool control = static_cast<unsigned char>(character) < 0x20;
        if (control && character != '\t' && character != '\n') {
          escaped += kReplacement;
        } else {
          escaped += character;
        }
      }
    }
  }
  escaped = ReplaceAll(escaped, "\xEF\xBF\xBE", kReplacement);
  return ReplaceAll(escaped, "\xEF\xBF\xBF", kReplacement);
}

// Coordinates to a tenth of a pixel, as short as they can be.
std::string Pixels(double value) {
  std::string text = FloatToText(std::nearbyint(value * 10) / 10);
  text.erase(text.size() - 3);
  if (text.ends_with(".0")) text.erase(text.size() - 2);
  return text;
}

// The range of x that the picture shows, of some width.
Interval RangeOf(std::span<const Ref<IFuzzySet>> sets, const IFuzzyVariable* variable,
                 const FuzzyPictureOptions& options) {
  std::optional<Interval> range = options.range;
  if (!range && variable != nullptr && variable->HasUniverse()) {
    range = Interval{variable->GetUniverseFrom(), variable->GetUniverseTo()};
  }
  if (!range) {
    for (const Ref<IFuzzySet>& set : sets) {
      if (set->GetCount() == 0) continue;
      if (!range) range = Interval{set->GetLowestX(), set->GetHighestX()};
      range->from = std::min(range->from, set->GetLowestX());
      range->to = std::max(range->to, set->GetHighestX());
    }
  }
  if (!range || !std::isfinite(range->from) || !std::isfinite(range->to)) range = Interval{0, 1};
  if (range->from > range->to) std::swap(range->from, range->to);
  if (range->from == range->to) {
    const double margin = std::max(1.0, std::fabs(range->from) / 1024);
    const double least = std::numeric_limits<double>::lowest();
    range->from = std::max(range->from - margin, least);
    range->to = std::min(range->to + margin, -least);
  }
  return *range;
}

// The numbers under an axis: steps of 1, 2 or 5 times a power of ten, five to eleven of them.
std::vector<double> TicksOf(Interval range) {
  std::vector<double> ticks;
  const double rough = range.to / 10 - range.from / 10;
  double step = std::pow(10, std::floor(std::log10(rough)));
  for (const double factor : {2.0, 2.5, 2.0}) {
    if (step >= rough * 0.999) break;
    step *= factor;
  }
  const double first = std::ceil(range.from / step);
  const double last = std::floor(range.to / step);
  // Where the numbers leave no room for steps, the ends have to do.
  if (!std::isfinite(step) || !(step > 0) || !(last - first <= 100) || first + 1 == first) {
    return {range.from, range.to};
  }
  for (double i = first; i <= last; ++i) ticks.push_back(i * step + 0.0);
  return ticks;
}

// The shortest text of a tick, without the digits that only rounding brought in.
std::string TickText(double value) {
  char buffer[40];
  const auto result =
      std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::general, 10);
  return std::string(buffer, result.ptr);
}

class Picture {
 public:
  Picture(Interval range, double width, double height, double plot_height)
      : range_(range), width_(width), height_(height), plot_height_(plot_height) {
    text_ = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + Pixels(width_) + "\" height=\"" +
            Pixels(height_) + "\" viewBox=\"0 0 " + Pixels(width_) + " " + Pixels(height_) +
            "\" font-family=\"sans-serif\" font-size=\"12\">\n" +
            "<rect width=\"100%\" height=\"100%\" fill=\"#FFFFFF\"/>\n";
  }

  double X(double x) const {
    const double fraction = std::clamp(FractionOf(x, range_.from, range_.to), 0.0, 1.0);
    return kLeft + fraction * (width_ - kLeft - kRight);
  }
  double Y(double y) const { return kTop + (1 - y) * plot_height_; }

  void Line(double x1, double y1, double x2, double y2, std::string_view style) {
    text_ += "<line x1=\"" + Pixels(x1) + "\" y1=\"" + Pixels(y1) + "\" x2=\"" + Pixels(x2) +
             "\" y2=\"" + Pixels(y2) + "\" " + std::string(style) + "/>\n";
  }
  void Words(double x, double y, std::string_view anchor, std::string_view words,
             std::string_view style = {}) {
    text_ += "<text x=\"" + Pixels(x) + "\" y=\"" + Pixels(y) + "\" text-anchor=\"" +
             std::string(anchor) + "\" fill=\"#222222\"" + std::string(style) + ">" +
             Escaped(words) + "</text>\n";
  }

  void Axes(std::string_view units) {
    constexpr std::string_view kGrid = "stroke=\"#DDDDDD\" stroke-width=\"1\"";
    constexpr std::string_view kAxis = "stroke=\"#444444\" stroke-width=\"1\"";
    const double bottom = Y(0);
    for (int i = 0; i <= 4; ++i) {
      const double y = i * 0.25;
      Line(kLeft, Y(y), width_ - kRight, Y(y), kGrid);
      Line(kLeft - 5, Y(y), kLeft, Y(y), kAxis);
      Words(kLeft - 9, Y(y) + 4, "end", TickText(y));
    }
    const std::vector<double> ticks = TicksOf(range_);
    std::size_t longest = 0;
    for (const double tick : ticks) longest = std::max(longest, TickText(tick).size());
    // Where the numbers are too long to stand side by side, not every tick has one.
    const double room = (width_ - kLeft - kRight) / static_cast<double>(ticks.size());
    const double need = kLetter * static_cast<double>(longest) + 8;
    const auto every = static_cast<std::size_t>(std::max(1.0, std::ceil(need / room)));
    for (std::size_t i = 0; i < ticks.size(); ++i) {
      const double x = X(ticks[i]);
      Line(x, kTop, x, bottom, kGrid);
      Line(x, bottom, x, bottom + 5, kAxis);
      if (i % every == 0) Words(x, bottom + 19, "middle", TickText(ticks[i]));
    }
    Line(kLeft, bottom, width_ - kRight, bottom, kAxis);
    Line(kLeft, kTop, kLeft, bottom, kAxis);
    if (!units.empty()) {
      Words((kLeft + width_ - kRight) / 2, bottom + 38, "middle", units, " font-style=\"italic\"");
    }
  }

  // The line of a function over the range. Parts of it that fall on one pixel are left out, so that
  // a picture is no larger than it has to be.
  void Curve(const PiecewiseLinear& function, const std::string& stroke) {
    std::string path;
    std::string last;
    const auto add = [&](double x, double y) {
      std::string place = Pixels(X(x)) + "," + Pixels(Y(y));
      if (place == last) return;
      if (!path.empty()) path += ' ';
      path += place;
      last = std::move(place);
    };
    const auto add_limits = [&](double x, const Limits& at) {
      add(x, at.left);
      add(x, at.value);
      add(x, at.right);
    };
    const Limits start = function.LimitsAt(range_.from);
    add(range_.from, start.value);
    add(range_.from, start.right);
    PieceCursor cursor(function.GetPoints());
    while (cursor.NextX() < range_.to) {
      const double x = cursor.NextX();
      const Limits at = cursor.At(x);
      if (x > range_.from) add_limits(x, at);
    }
    const Limits end = function.LimitsAt(range_.to);
    add(range_.to, end.left);
    add(range_.to, end.value);
    text_ += "<polyline fill=\"none\" " + stroke + " points=\"" + path + "\"/>\n";
  }

  std::string Finish() { return text_ + "</svg>\n"; }

 private:
  Interval range_;
  double width_;
  double height_;
  double plot_height_;
  std::string text_;
};

std::string StrokeOf(std::size_t index) {
  std::string stroke = "stroke=\"" + std::string(kColours[index % kColours.size()]) +
                       "\" stroke-width=\"2\" stroke-linejoin=\"round\"";
  const std::string_view dash = kDashes[index / kColours.size() % kDashes.size()];
  if (!dash.empty()) stroke += " stroke-dasharray=\"" + std::string(dash) + "\"";
  return stroke;
}

std::string LegendOf(const IFuzzySet& set) {
  std::string name = set.GetName();
  if (Length16(name) <= kLegendLetters) return name;
  return Slice16(name, 0, kLegendLetters - 1) + "\xE2\x80\xA6";
}

}  // namespace

std::string FuzzyPicture(std::span<const Ref<IFuzzySet>> sets, const FuzzyPictureOptions& options) {
  const IFuzzyVariable* variable = sets.empty() ? nullptr : sets.front()->GetVariable();
  const double width = std::clamp(options.width, 200, 10'000);
  const double asked_height = std::clamp(options.height, 200, 10'000);

  // The legend stands below the axis, in as many rows as it takes.
  struct Entry {
    std::string name;
    double x;
    int row;
  };
  std::vector<Entry> legend;
  double x = kLeft;
  int row = 0;
  for (const Ref<IFuzzySet>& set : sets) {
    std::string name = LegendOf(*set);
    const double entry_width = 45 + kLetter * static_cast<double>(Length16(name));
    if (x > kLeft && x + entry_width > width - kRight) {
      x = kLeft;
      ++row;
    }
    legend.push_back({std::move(name), x, row});
    x += entry_width;
  }
  const double legend_height = legend.empty() ? 0 : kLegendRow * (row + 1);
  const double plot_height = std::max(100.0, asked_height - kTop - kAxisHeight - legend_height);
  const double height = kTop + plot_height + kAxisHeight + legend_height;

  Picture picture(RangeOf(sets, variable, options), width, height, plot_height);
  std::string title = options.title;
  if (title.empty() && variable != nullptr) title = variable->GetName();
  picture.Words(width / 2, 22, "middle", title, " font-size=\"15\" font-weight=\"bold\"");
  std::string units = options.units;
  if (units.empty() && variable != nullptr) units = variable->GetUnits();
  picture.Axes(units);
  for (std::size_t i = 0; i < sets.size(); ++i) picture.Curve(sets[i]->GetFunction(), StrokeOf(i));
  if (options.mark && std::isfinite(*options.mark)) {
    const double at = picture.X(*options.mark);
    picture.Line(at, kTop, at, picture.Y(0),
                 "stroke=\"#C00000\" stroke-width=\"1.5\" stroke-dasharray=\"4 3\"");
    picture.Words(at, kTop - 4, "middle", TickText(*options.mark));
  }
  for (std::size_t i = 0; i < legend.size(); ++i) {
    const double y = kTop + plot_height + kAxisHeight + kLegendRow * legend[i].row + 8;
    picture.Line(legend[i].x, y - 4, legend[i].x + 26, y - 4, StrokeOf(i));
    picture.Words(legend[i].x + 32, y, "start", legend[i].name);
  }
  return picture.Finish();
}

std::string FuzzyPicture(const IFuzzySet& set, const FuzzyPictureOptions& options) {
  // The picture reads the set only while this call lasts.
  const Ref<IFuzzySet> borrowed(const_cast<IFuzzySet*>(&set));
  return FuzzyPicture(std::span(&borrowed, 1), options);
}

std::string FuzzyPicture(const IFuzzyVariable& variable, const FuzzyPictureOptions& options) {
  std::vector<Ref<IFuzzySet>> terms;
  for (std::int32_t i = 0; i < variable.GetSetCount(); ++i) {
    if (variable.GetSet(i)->IsTerm()) terms.push_back(variable.GetSet(i));
  }
  const auto is_auto = [&](const Ref<IFuzzySet>& term) { return variable.IsAutoTerm(*term); };
  if (!std::all_of(terms.begin(), terms.end(), is_auto)) std::erase_if(terms, is_auto);
  FuzzyPictureOptions filled = options;
  if (filled.title.empty()) filled.title = variable.GetName();
  if (filled.units.empty()) filled.units = variable.GetUnits();
  if (!filled.range && variable.HasUniverse()) {
    filled.range = Interval{variable.GetUniverseFrom(), variable.GetUniverseTo()};
  }
  return FuzzyPicture(terms, filled);
}

}  // namespace reasoner
