#include "inapp/popup_layout.h"

namespace orvanta {
namespace {

constexpr double kStatusBarHeight = 20;

// percent hundredths of length.
double part(double length, int percent) { return length * percent / 100; }

}  // namespace

Rect popupFrame(std::int64_t popupType, Rect screen, Orientation orientation) {
  const double w = screen.width;
  const double h = screen.height;
  const double top = isLandscape(orientation) ? 0 : kStatusBarHeight;
  switch (popupType) {
    case 1:
      return {0, top, w, part(h, 20)};
    case 2:
      return {0, part(h, 80), w, part(h, 20)};
    case 3:
      return {part(w, 5), part(h, 10), w - part(w, 10), part(h, 80)};
    case 4:
      return {part(w, 5), part(h, 25), part(w, 90), part(h, 45)};
    default:
      return {0, top, w, h - kStatusBarHeight};
  }
}

}  // namespace orvanta
