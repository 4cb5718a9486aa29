#include "orvanta/version.h"

namespace orvanta {

const unsigned char OrvantaPushVersionString[] = "@(#)PROGRAM:OrvantaPush  PROJECT:OrvantaPush-1\n";
const double OrvantaPushVersionNumber = 1.0;

}  // namespace orvanta
