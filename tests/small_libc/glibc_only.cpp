// What must not come into the library: calls that glibc has, and the small C library has not. Both
// checks have to refuse them; that of the headers, what comes from headers.
#include <cstdlib>
#include <pthread.h>

extern "C" int ns_initparse(unsigned char const*, int, void*); // of a library of glibc's own

extern "C" __attribute__((visibility("default"))) void*
glibcOnly(void* memory, pthread_cond_t* wake, pthread_mutex_t* lock, timespec const* deadline)
{
    ns_initparse(nullptr, 0, memory);
    pthread_cond_clockwait(wake, lock, CLOCK_MONOTONIC, deadline);
    return reallocarray(memory, 2, sizeof(int));
}
