// Plug-in of qemu 7.2's user emulation: prints how many instructions the emulated program ran. The interface is
// declared here, as far as it is used; Debian has no header of it.
#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#define EXPORTED __attribute__((visibility("default")))

struct qemu_plugin_tb;
typedef void (*TranslationCallback)(uint64_t id, struct qemu_plugin_tb* block);
typedef void (*ExitCallback)(uint64_t id, void* data);
enum { addToCounter = 0 };

void qemu_plugin_register_vcpu_tb_trans_cb(uint64_t id, TranslationCallback callback);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block, int operation, void* counter, uint64_t by);
void qemu_plugin_register_atexit_cb(uint64_t id, ExitCallback callback, void* data);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);

EXPORTED int qemu_plugin_version = 1;

static uint64_t instructions;

static void onTranslation(uint64_t id, struct qemu_plugin_tb* block) {
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_inline(block, addToCounter, &instructions, qemu_plugin_tb_n_insns(block));
}

static void onExit(uint64_t id, void* data) {
    (void)id;
    (void)data;
    fprintf(stderr, "%" PRIu64 "\n", instructions);
}

EXPORTED int qemu_plugin_install(uint64_t id, const void* info, int argc, char** argv);
int qemu_plugin_install(uint64_t id, const void* info, int argc, char** argv) {
    (void)info;
    (void)argc;
    (void)argv;
    qemu_plugin_register_vcpu_tb_trans_cb(id, onTranslation);
    qemu_plugin_register_atexit_cb(id, onExit, NULL);
    return 0;
}
