#include <cstring>
#include <set>

#include <gtest/gtest.h>

#include "support/neighbours.h"

namespace {

const std::map<std::string, std::set<int>> entities_of_handlers = {
    {"process_cpu_fault", {3}},
    {"process_drive_bp_fault", {4, 15}},
    {"process_sys_board_fault", {7, 16}},
    {"process_mem_fault", {8, 25, 32}},
    {"process_ps_fault", {10, 14, 20, 21}},
    {"process_add_in_fault", {11}},
    {"process_front_panel_fault", {12}},
    {"process_chassis_fault", {23}},
    {"process_fan_fault", {29}},
    {"process_fw_bios_post_fault", {34}},
    {"process_nm_fault", {46}},
    {"process_pci_fault", {49}},
    {"process_storage_fault", {208, 209, 210, 211}},
    {"process_plax_fault", {212, 213, 214, 215}},
    {"process_cmc_fault", {216}},
};

TEST(Dispatch, EveryEntityGetsAZeroRecordToItsHandler) {
    const fe_write_buf zero{};
    for (int entity = 0; entity < 256; ++entity) {
        SCOPED_TRACE(entity);
        std::vector<std::string> handlers;
        for (const auto &[handler, entities] : entities_of_handlers) {
            handlers.insert(handlers.end(), entities.count(entity), handler);
        }
        reset_world();
        WriteBuffer buffer;
        memset(&buffer.record, 0xA5, sizeof buffer.record);
        fe_read_buf request{};
        request.entity_id = static_cast<uint8_t>(entity);
        world().dispatch = [&](const std::string &, fe_read_buf &given, fe_write_buf_struct &wbuf) {
            EXPECT_TRUE(&given == &request && &wbuf == &buffer.block);
            return -77;
        };
        EXPECT_EQ(process_write_buf(&request, &buffer.block), handlers.empty()                ? -1
                                                              : entity == 46 || entity == 216 ? 0
                                                                                              : -77);
        EXPECT_EQ(world().calls, handlers);
        EXPECT_EQ(memcmp(&buffer.record, &zero, sizeof zero), 0);
    }
}

TEST(Dispatch, NothingToFill) {
    reset_world();
    fe_read_buf request{};
    request.entity_id = 3;
    fe_write_buf_struct empty{};
    EXPECT_EQ(process_write_buf(&request, nullptr), -1);
    EXPECT_EQ(process_write_buf(&request, &empty), -1);
    EXPECT_TRUE(world().calls.empty());
}

} // namespace
