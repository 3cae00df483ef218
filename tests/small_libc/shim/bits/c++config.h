// libstdc++ as it is configured for a C library that has less than glibc: the headers are those of
// a compiler for glibc, which has noted what it found there.
#pragma once
#include_next <bits/c++config.h>

#undef _GLIBCXX_HAVE_AT_QUICK_EXIT
#undef _GLIBCXX_HAVE_QUICK_EXIT
#undef _GLIBCXX_HAVE_TIMESPEC_GET
#undef _GLIBCXX_USE_NLS
#undef _GLIBCXX_USE_TMPNAM
// Timed waits by a clock that the call names.
#undef _GLIBCXX_USE_PTHREAD_COND_CLOCKWAIT
#undef _GLIBCXX_USE_PTHREAD_MUTEX_CLOCKLOCK
#undef _GLIBCXX_USE_PTHREAD_RWLOCK_CLOCKLOCK
