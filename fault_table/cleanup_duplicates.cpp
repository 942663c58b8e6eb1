// Clears the older of two faults with the same code under one entity instance: duplicates, which come about when a
// related-code match gives a fault the code of another.
#include "base/buffer_block.h"
#include "fault_table/table.h"
#include "fault_table/update.h"
#include "platform/fe_core/fe_core.h"

namespace {

// One bit for each code of a list, on the stack of the pass. Codes that differ by a multiple of `bits` share one, which
// costs the exact search and nothing else; known codes lie below.
struct code_set {
    static constexpr uint32_t bits = 32768;
    uint32_t words[bits / 32];
};

uint32_t &word_of(code_set &codes, const fault_node &node) {
    return codes.words[static_cast<uint32_t>(node.fault_code) % code_set::bits / 32];
}

uint32_t bit_of(const fault_node &node) {
    return 1U << static_cast<uint32_t>(node.fault_code) % 32;
}

// False for a list that certainly has no duplicates, in linear time. `codes` is empty before and after.
bool may_have_duplicates(const fault_node *list, code_set &codes) {
    bool shared = false;
    for (const fault_node *node = list; node != nullptr; node = node->next) {
        uint32_t &word = word_of(codes, *node);
        shared = shared || (word & bit_of(*node)) != 0;
        word |= bit_of(*node);
    }
    for (const fault_node *node = list; node != nullptr; node = node->next) {
        word_of(codes, *node) = 0;
    }
    return shared;
}

// The first fault from `node` on that has a younger duplicate behind it; null when there is none.
const fault_node *find_older_duplicate(const fault_node *node) {
    for (; node != nullptr; node = node->next) {
        for (const fault_node *other = node->next; other != nullptr; other = other->next) {
            if (other->fault_code == node->fault_code) {
                return node;
            }
        }
    }
    return nullptr;
}

void clear_duplicate(const fault_node &node, fe_write_buf &clearing) FE_REQUIRES(table_lock) {
    clearing = node.entry->record;
    fe_logger("Inside cleanup_duplicate_events...\n");
    fe_logger("Clean up fault node (%u/%u/curr:%u-prev:%u)\n", unsigned{clearing.entity_id},
              static_cast<unsigned>(clearing.entity_instance), static_cast<unsigned>(clearing.vemoFaultCode),
              static_cast<unsigned>(clearing.prev_vemoFaultCode));
    make_clearing(clearing);
    change_fault_table(clearing);
}

// The clearing removes this fault or, by a related code, one before it; those behind stay, the younger duplicate among them,
// so that neither the instance nor its entity goes. The old first node may be freed by then: only its address is kept.
void clear_older_duplicates(const entity_instance_node &instance, fe_write_buf &clearing) FE_REQUIRES(table_lock) {
    const fault_node *node = find_older_duplicate(instance.fault_list);
    while (node != nullptr) {
        const fault_node *const behind = node->next;
        const auto first = reinterpret_cast<uintptr_t>(instance.fault_list);
        clear_duplicate(*node, clearing);
        const bool first_stays = reinterpret_cast<uintptr_t>(instance.fault_list) == first;
        node = find_older_duplicate(first_stays ? behind : instance.fault_list);
    }
}

} // namespace

void cleanup_duplicate_events(void) {
    auto *clearing = allocate_block<fe_write_buf_struct>();
    if (clearing == nullptr) {
        return;
    }
    code_set codes{};
    lock_table();
    for (const entity_id_node *entity = entity_id_list_head_ptr; entity != nullptr; entity = entity->next) {
        for (const entity_instance_node *instance = entity->instance_list; instance != nullptr;
             instance = instance->next) {
            if (may_have_duplicates(instance->fault_list, codes)) {
                clear_older_duplicates(*instance, *clearing->fe_write_buf);
            }
        }
    }
    unlock_table();
    free_block(clearing);
}
