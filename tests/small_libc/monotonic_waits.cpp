// The engine's deadlines are not to move with the time of day: Boost must find the clock for it in
// the small C library's headers, too.
#include <boost/thread/condition_variable.hpp>

#ifndef BOOST_THREAD_INTERNAL_CLOCK_IS_MONO
#error "Boost's timed waits go by the time of day"
#endif
