#include <algorithm>
#include <climits>
#include <cstring>

#include <gtest/gtest.h>

#include "support/neighbours.h"

namespace {

struct Row {
    int first, last;
    const char *handler;
};
constexpr Row kHandlers[] = {{3, 3, "process_cpu_fault"},           {4, 4, "process_drive_bp_fault"},
                             {15, 15, "process_drive_bp_fault"},    {7, 7, "process_sys_board_fault"},
                             {16, 16, "process_sys_board_fault"},   {8, 8, "process_mem_fault"},
                             {25, 25, "process_mem_fault"},         {32, 32, "process_mem_fault"},
                             {10, 10, "process_ps_fault"},          {14, 14, "process_ps_fault"},
                             {20, 21, "process_ps_fault"},          {11, 11, "process_add_in_fault"},
                             {12, 12, "process_front_panel_fault"}, {23, 23, "process_chassis_fault"},
                             {29, 29, "process_fan_fault"},         {34, 34, "process_fw_bios_post_fault"},
                             {46, 46, "process_nm_fault"},          {49, 49, "process_pci_fault"},
                             {208, 211, "process_storage_fault"},   {212, 215, "process_plax_fault"},
                             {216, 216, "process_cmc_fault"}};

} // namespace

TEST(Dispatch, EveryEntityId) {
    const fe_write_buf zero{};
    for (int entity = 0; entity < 256; ++entity) {
        SCOPED_TRACE(entity);
        const auto row = std::ranges::find_if(kHandlers, [&](Row r) { return r.first <= entity && entity <= r.last; });
        const bool known = row != std::end(kHandlers);
        for (const int32_t result : {0, 5, -77, INT_MIN}) {
            reset_world();
            WriteBuffer buffer;
            memset(&buffer.record, 0xA5, sizeof buffer.record);
            fe_read_buf request{};
            request.entity_id = static_cast<uint8_t>(entity);
            world().dispatch = [&](const std::string &, fe_read_buf &given, fe_write_buf_struct &wbuf) {
                EXPECT_TRUE(&given == &request && &wbuf == &buffer.block);
                EXPECT_EQ(memcmp(&buffer.record, &zero, sizeof zero), 0);
                buffer.record.FaultName[0] = 'F';
                return result;
            };
            const int32_t expected = !known ? -1 : entity == 46 || entity == 216 ? 0 : result;
            EXPECT_EQ(process_write_buf(&request, &buffer.block), expected);
            EXPECT_EQ(world().calls, std::vector<std::string>(known ? 1 : 0, known ? row->handler : ""));
            EXPECT_EQ(buffer.record.FaultName[0], known ? 'F' : '\0');
            buffer.record.FaultName[0] = '\0';
            EXPECT_EQ(memcmp(&buffer.record, &zero, sizeof zero), 0);
        }
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
