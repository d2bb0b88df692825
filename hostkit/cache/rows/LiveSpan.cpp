#include "hostkit/cache/rows/LiveSpan.h"

namespace vellora::hostkit {

LiveSpan::LiveSpan(Date now, CorvaneSDK::Table::MaxAge maxAge)
    : earliest(Date::sinceReferenceDate(now.secondsSinceReferenceDate() - seconds(maxAge))),
      latest(Date::sinceReferenceDate(now.secondsSinceReferenceDate() + seconds(maxAge))) {}

double seconds(CorvaneSDK::Table::MaxAge maxAge) {
  switch (maxAge) {
    case CorvaneSDK::Table::MaxAge::sevenDays:
      return 7 * 24 * 60 * 60;
  }
  return 0;
}

}  // namespace vellora::hostkit
