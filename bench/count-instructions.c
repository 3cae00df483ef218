/* A plugin of the emulator qemu-user: how many instructions of the emulated machine a program has
   executed, in all its threads. The count goes into the file that the plugin is loaded with:
       qemu-arm -plugin count-instructions.so,into=PATH PROGRAM ...
   The emulator's header is in no package, so what is used of its interface is declared here. */
#include <stdatomic.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

typedef uint64_t Plugin;
struct qemu_plugin_tb; /* a run of instructions without a branch, translated once */

void qemu_plugin_register_vcpu_tb_trans_cb(Plugin, void (*)(Plugin, struct qemu_plugin_tb*));
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb*);
void qemu_plugin_register_vcpu_tb_exec_cb(struct qemu_plugin_tb*, void (*)(unsigned int, void*),
                                          int registers, void*);
void qemu_plugin_register_atexit_cb(Plugin, void (*)(Plugin, void*), void*);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

static atomic_uint_fast64_t count;
static FILE* out; /* opened early: the program may close or redirect what it has */

static void executed(unsigned int processor, void* instructions)
{
    (void)processor;
    atomic_fetch_add_explicit(&count, (uintptr_t)instructions, memory_order_relaxed);
}

static void translated(Plugin plugin, struct qemu_plugin_tb* block)
{
    (void)plugin;
    qemu_plugin_register_vcpu_tb_exec_cb(block, executed, 0,
                                         (void*)(uintptr_t)qemu_plugin_tb_n_insns(block));
}

static void ended(Plugin plugin, void* unused)
{
    (void)plugin;
    (void)unused;
    fprintf(out, "%llu\n", (unsigned long long)atomic_load(&count));
    fclose(out);
}

__attribute__((visibility("default"))) int qemu_plugin_install(Plugin plugin, const void* machine,
                                                               int argc, char** argv)
{
    (void)machine;
    if (argc != 1 || strncmp(argv[0], "into=", 5) != 0 || !(out = fopen(argv[0] + 5, "w")))
        return 1;
    qemu_plugin_register_vcpu_tb_trans_cb(plugin, translated);
    qemu_plugin_register_atexit_cb(plugin, ended, NULL);
    return 0;
}
