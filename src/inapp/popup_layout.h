// Where a popup's page lies on the screen, by its layout number.
#pragma once

#include <cstdint>

#include "orvanta/platform/views.h"

namespace orvanta {

// The page's frame for popupType on a screen of bounds W × H, T being 20
// (the status bar) unless the orientation is a landscape one, then 0:
//   1: 0, T, W, 0.2 H                  (banner at the top)
//   2: 0, 0.8 H, W, 0.2 H              (banner at the bottom)
//   3: 0.05 W, 0.1 H, W - 0.1 W, 0.8 H (large centred box)
//   4: 0.05 W, 0.25 H, 0.9 W, 0.45 H   (small centred box)
//   any other: 0, T, W, H - 20         (full screen; H - 20 in landscape too)
// Each fraction is taken as whole hundredths, multiplied first and divided
// last, so every side is the number nearest its exact value: 0.8 × 568 is
// 454.4, where multiplying by the double 0.8 gives 454.40000000000003.
Rect popupFrame(std::int64_t popupType, Rect screen, Orientation orientation);

}  // namespace orvanta
