// Boost.JSON compiled into this library: its headers hold the whole of it, so no further package is needed.
#include <boost/json/src.hpp>
