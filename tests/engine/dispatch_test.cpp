#include <cstring>

#include <gtest/gtest.h>

#include "expected_text.h"
#include "support/neighbours.h"

// A line for every entity that has a handler: what process_write_buf() returns where the handler returns -77.
TEST(Dispatch, EveryEntityGetsAZeroRecordToItsHandler) {
    const fe_write_buf zero{};
    std::string told;
    for (int entity = 0; entity < 256; ++entity) {
        reset_world();
        WriteBuffer buffer;
        memset(&buffer.record, 0xA5, sizeof buffer.record);
        fe_read_buf request{};
        request.entity_id = static_cast<uint8_t>(entity);
        world().dispatch = [&](const std::string &, fe_read_buf &given, fe_write_buf_struct &wbuf) {
            EXPECT_TRUE(&given == &request && &wbuf == &buffer.block);
            return -77;
        };
        const int32_t result = process_write_buf(&request, &buffer.block);
        EXPECT_TRUE(result == -1 || !world().calls.empty()) << entity;
        for (const std::string &handler : world().calls) {
            told += std::to_string(entity) + " " + handler + " " + std::to_string(result) + "\n";
        }
        EXPECT_EQ(memcmp(&buffer.record, &zero, sizeof zero), 0);
        fe_write_buf_struct empty{};
        EXPECT_TRUE(process_write_buf(&request, nullptr) == -1 && process_write_buf(&request, &empty) == -1);
    }
    EXPECT_EQ(told, expected_text("engine/dispatch.txt"));
}
