/* A plugin for qemu-aarch64 that counts the instructions that the emulated program
   runs, and those among them that move single lanes of vectors. The program asks by
   writing 8 bytes to the descriptor that is named for a count; they become it.

   The declarations are of the emulator's plugin interface, version 1, whose header
   distributions leave out. */
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "benchmarks/instructions/counter.h"

typedef uint64_t qemu_plugin_id_t;
struct qemu_plugin_tb;
struct qemu_plugin_insn;
enum qemu_plugin_op { QEMU_PLUGIN_INLINE_ADD_U64 };

typedef void (*TranslationCallback)(qemu_plugin_id_t, struct qemu_plugin_tb*);
typedef void (*SyscallCallback)(qemu_plugin_id_t, unsigned int, int64_t, uint64_t, uint64_t,
                                uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t);

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t, TranslationCallback);
void qemu_plugin_register_vcpu_syscall_cb(qemu_plugin_id_t, SyscallCallback);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb*, enum qemu_plugin_op, void*,
                                              uint64_t);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb*);
struct qemu_plugin_insn* qemu_plugin_tb_get_insn(const struct qemu_plugin_tb*, size_t);
const void* qemu_plugin_insn_data(const struct qemu_plugin_insn*);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

static uint64_t instructions;
static uint64_t laneMoves;

/* Of one lane to or from another one, a general register, or memory. */
static bool isLaneMove(uint32_t code)
{
    if ((code & 0x9FE08400) == 0x0E000400) { /* ins, umov, smov, dup; */
        const uint32_t form = code >> 11 & 15;
        const bool isInsert = code >> 29 & 1;
        return isInsert || form != 0; /* but not dup of a lane */
    }
    if ((code & 0x7F3EFC00) == 0x1E260000) /* fmov from and to general registers */
        return true;
    if ((code & 0xBF000000) == 0x0D000000) /* loads and stores of single lanes; */
        return (code >> 13 & 7) < 6;       /* but not of one lane into all */
    return false;
}

static void translated(qemu_plugin_id_t id, struct qemu_plugin_tb* block)
{
    (void)id;
    const size_t count = qemu_plugin_tb_n_insns(block);
    size_t moves = 0;
    for (size_t i = 0; i < count; ++i)
        moves +=
            isLaneMove(*(const uint32_t*)qemu_plugin_insn_data(qemu_plugin_tb_get_insn(block, i)));
    qemu_plugin_register_vcpu_tb_exec_inline(block, QEMU_PLUGIN_INLINE_ADD_U64, &instructions,
                                             count);
    if (moves)
        qemu_plugin_register_vcpu_tb_exec_inline(block, QEMU_PLUGIN_INLINE_ADD_U64, &laneMoves,
                                                 moves);
}

static void called(qemu_plugin_id_t id, unsigned int cpu, int64_t number, uint64_t descriptor,
                   uint64_t bytes, uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6, uint64_t a7,
                   uint64_t a8)
{
    (void)id, (void)cpu, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7, (void)a8;
    const int64_t writeNumber = 64; /* of that system */
    if (number != writeNumber)
        return;
    if (descriptor == INSTRUCTIONS_DESCRIPTOR)
        *(uint64_t*)bytes = instructions;
    if (descriptor == LANE_MOVES_DESCRIPTOR)
        *(uint64_t*)bytes = laneMoves;
}

__attribute__((visibility("default"))) int
qemu_plugin_install(qemu_plugin_id_t id, const void* info, int count, char** arguments)
{
    (void)info, (void)count, (void)arguments;
    qemu_plugin_register_vcpu_tb_trans_cb(id, translated);
    qemu_plugin_register_vcpu_syscall_cb(id, called);
    return 0;
}
