// What a run needs of a device: plays one file to a null callback and prints the peak of the heap,
// the deepest stack and the threads. Counts what it says itself, in place of the C library's
// functions, with all the libraries below: glibc only.
#include "DecoderRun.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <malloc.h>
#include <memory>
#include <pthread.h>

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace {

/// What is now, and the most that there has been since reset.
class Gauge {
public:
    void add(long amount)
    {
        long const now = m_now += amount;
        raiseTo(now);
    }
    void raiseTo(long value)
    {
        for (long most = m_most; value > most && !m_most.compare_exchange_weak(most, value);) {
        }
    }
    void reset() { m_most = m_now.load(); }
    long now() const { return m_now; }
    long most() const { return m_most; }

private:
    std::atomic<long> m_now{0}, m_most{0};
};

Gauge heap, threads, stack;

void* counted(void* block)
{
    heap.add(static_cast<long>(malloc_usable_size(block)));
    return block;
}

constexpr std::uint32_t Paint = 0x5AA5C33C;

/// Paints the stack below here, runs, and looks how much of the paint is gone.
struct Start {
    void* (*function)(void*);
    void* argument;

    static void* run(void* self)
    {
        std::unique_ptr<Start> const start(static_cast<Start*>(self));
        pthread_attr_t attributes;
        void* lowest = nullptr;
        std::size_t bytes = 0;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstack(&attributes, &lowest, &bytes);
        pthread_attr_destroy(&attributes);
        auto* const low = static_cast<std::uint32_t volatile*>(lowest);
        auto const here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) - 1024;
        std::size_t const words = (here - reinterpret_cast<std::uintptr_t>(lowest)) / sizeof *low;
        for (std::size_t i = 0; i < words; ++i)
            low[i] = Paint;
        void* const result = start->function(start->argument);
        std::size_t untouched = 0;
        while (untouched < words && low[untouched] == Paint)
            ++untouched;
        stack.raiseTo(static_cast<long>(bytes - untouched * sizeof *low));
        threads.add(-1);
        return result;
    }
};

} // namespace

extern "C" {

void* malloc(std::size_t bytes) { return counted(__libc_malloc(bytes)); }

void* calloc(std::size_t count, std::size_t bytes) { return counted(__libc_calloc(count, bytes)); }

void* realloc(void* block, std::size_t bytes)
{
    heap.add(-static_cast<long>(malloc_usable_size(block)));
    return counted(__libc_realloc(block, bytes));
}

void* memalign(std::size_t alignment, std::size_t bytes)
{
    return counted(__libc_memalign(alignment, bytes));
}

void* aligned_alloc(std::size_t alignment, std::size_t bytes) { return memalign(alignment, bytes); }

int posix_memalign(void** block, std::size_t alignment, std::size_t bytes)
{
    *block = memalign(alignment, bytes);
    return *block ? 0 : ENOMEM;
}

void free(void* block)
{
    heap.add(-static_cast<long>(malloc_usable_size(block)));
    __libc_free(block);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*),
                   void* argument)
{
    static auto const create =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    threads.add(1);
    return create(thread, attributes, Start::run, new Start{function, argument});
}

} // extern "C"

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::printf("usage: %s FORMAT FILE\n", argv[0]);
        return 2;
    }
    std::FILE* const out = avr::bench::quietOutput();
    Avr::Decoder::InitDecoder();
    heap.reset();
    long const before = heap.now();
    avr::bench::playThroughEngine(argv[1], argv[2]);
    std::fprintf(out, "%ld %ld %ld\n", heap.most() - before, stack.most(), threads.most());
    return 0;
}
