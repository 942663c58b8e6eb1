// The walk of the whole SEL at start-up, what follows it, and the look-up in an entity table.
#include "support/engine_test.h"

namespace {

sel_list_entry listed(const Record &record, uint32_t number) {
    sel_list_entry entry;
    std::memcpy(&entry.record, record.data(), record.size());
    std::memcpy(entry.sensor_number, &number, sizeof number);
    return entry;
}

// The road passes over these entries without a word: the walk's own lines alone tell of them.
void fill_sel(uint32_t total) {
    for (uint32_t i = 0; i < total; ++i) {
        world().sel.push_back(listed(event(0x10), i));
    }
}

void expect_walk(int32_t result, const std::string &walk, uint32_t processed) {
    EXPECT_EQ(populate_all_sel_events(), result);
    EXPECT_EQ(story(), " size" + walk);
    std::string lines, logged;
    for (uint32_t i = 0; i < processed; ++i) {
        lines += "populate_all_sel_events:Sensor num: " + std::to_string(i) + "\n";
    }
    for (const std::string &line : world().log) {
        logged += line.starts_with("populate_all") ? line : "";
    }
    EXPECT_TRUE(logged == lines); // too long to print
}

TEST_F(SelRoad, WalkReadsTheSelInChunksOf512) {
    for (const uint32_t total : {0U, 1U, 511U, 512U, 513U, 600U, 1024U, 65535U}) {
        arrange();
        fill_sel(total);
        std::string chunks;
        for (uint32_t start = 0; start < total; start += 512) {
            chunks += " chunk=" + std::to_string(start + 1) + "+" + std::to_string(std::min(512U, total - start));
        }
        if (total != 0) {
            world().sel.back().record.record_type = 0xC0;
        }
        expect_walk(total == 0 ? 0 : -108, chunks, total); // the last record's result
    }
}

// Number of entries that DecodeSel claims to have put into the decode area, next id, result.
using Chunk = std::tuple<uint32_t, uint16_t, int32_t>;

// Length of the SEL, chunks served in turn, the walk's story, number of entries processed, result.
const std::tuple<uint16_t, std::vector<Chunk>, const char *, uint32_t, int32_t> odd_walks[] = {
    {600,
     {{512, 0x2000, 0}, {88, 7, 0}},
     " chunk=1+512 chunk=8192+88",
     600,
     0},                                                // a chunk starts at the id that the one before gave
    {1500, {{512, 0xFFFF, 0}}, " chunk=1+512", 512, 0}, // an early end
    {1030, {{0, 10, 0}, {512, 522, 0}, {6, 9, 0}}, " chunk=1+512 chunk=10+512 chunk=522+6", 518, 0},
    // more than the list holds, than a chunk, than was asked for
    {3, {{600, 0xFFFF, 0}}, " chunk=1+3", 3, 0},
    {600, {{513, 513, 0}, {88, 0xFFFF, 0}}, " chunk=1+512 chunk=513+88", 600, 0},
    {600, {{UINT32_MAX, 513, 0}, {UINT32_MAX, 9, 0}}, " chunk=1+512 chunk=513+88", 600, 0},
    {513, {{10, 11, 0}, {512, 0xFFFF, 0}}, " chunk=1+512 chunk=11+1", 513, 0},
    {600, {{512, 513, 1}}, " chunk=1+512", 0, -104},
    {1100, {{512, 513, 0}, {512, 1025, -1}}, " chunk=1+512 chunk=513+512", 0, -104},
};

TEST_F(SelRoad, WalkTakesWhatTheDecoderGives) {
    for (const auto &[total, chunks, walk, processed, result] : odd_walks) {
        arrange();
        fill_sel(2000);
        const auto entries = std::exchange(world().sel, std::vector<sel_list_entry>(total));
        const sel_list_entry *entry = entries.data();
        auto chunk = chunks.begin();
        world().decode = [&](sel_decode_area &area) {
            const auto [claimed, next, decode_result] = *chunk++;
            area.request = 0xEEEEEEEE; // is to be set before every call
            area.next_record_id = next;
            area.decoded_last = claimed;
            std::copy_n(entry, std::min(claimed, 512U), area.entries);
            entry += std::min(claimed, 512U);
            return decode_result;
        };
        expect_walk(result, walk, processed);
    }
}

TEST_F(SelRoad, WalkWithoutMemoryEndsEarly) {
    fill_sel(3);
    const FailCall no_memory(Call::allocate, 1);
    expect_walk(0, "", 0);
}

TEST_F(SelRoad, WalkFitsAStackOf512KiB) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer's own data leaves no room on such a stack";
#endif
    fill_sel(600);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size_t{512} * 1024);
    pthread_t thread;
    const auto walk = [](void *) -> void * {
        expect_walk(0, " chunk=1+512 chunk=513+88", 600);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, walk, nullptr), 0);
    pthread_join(thread, nullptr);
}

TEST_F(SelRoad, StartUpTakesEveryStepWhateverTheWalkGives) {
    Record oem = event(), unknown = event(0x01, 0x01, 0x57, road_sensor + 1);
    oem[2] = 0xC0;
    std::ofstream(sandbox.path("fe_table.sz")).flush();
    on_syslog = [&](int priority, const std::string &text) { // before the table files are written
        EXPECT_EQ(text, "SEL INIT DONE\n");
        tell("syslog", "=" + std::to_string(priority) + "," + std::to_string(sandbox.bytes("fe_table.sz").size()));
    };
    const CallTrace trace([](const std::string &call) {
        if (call == "lockf fe_table.entry F_LOCK 0" && sel_init_complete != 0) {
            tell("publish");
        }
    });
    const auto start_up = [&](auto change) {
        arrange();
        world().sel = {listed(oem, 0), listed(event(), 1), listed(unknown, 0xFFFFFFFE), listed(event(0x10), 7)};
        change();
        const int32_t result = init_event_thread();
        EXPECT_EQ(sel_init_complete, 1);
        return story() + " = " + std::to_string(result);
    };
    const std::string settled = " stale pause=5.0 stale duplicates=early syslog=7,";
    EXPECT_EQ(start_up([] { world().total_result = 3; }), " size" + settled + "0 publish# = -1");
    EXPECT_EQ(start_up([] { world().decode = [](auto...) { return 1; }; }),
              " size chunk=1+4" + settled + "4 publish# = -104");
    EXPECT_EQ(start_up([] { world().sel.clear(); }), " size" + settled + "4 publish# = 0");
    EXPECT_EQ(start_up([] {}),
              " size chunk=1+4 attach text detach sensor cpu*[1,4,117] update*=0 attach text detach "
              "sensor stale sensor reading pause=5.0 stale sensor reading duplicates=early syslog=7,4 publish# = 0");
    const std::string log = log_text();
    for (const char *line : {"Sensor num: 0\n", "Sensor num: 1\n", "Sensor num: -2\n", "Sensor num: 7\n"}) {
        EXPECT_NE(log.find(std::string("populate_all_sel_events:") + line), std::string::npos);
    }
    on_syslog = nullptr;
    EXPECT_EQ(sandbox.bytes("fe_table.sz"), std::string("\1\0\0\0", 4));
}

TEST_F(SelRoad, EntityTableGivesTheFirstMatchOfARow) {
    uint32_t table[17][33] = {{0, 50, 5}, {77, 11, 1, 12, 2, 13, 1, 14, 0, 0, 3, 15, 4}, {5, 0, 5, 21, 6}};
    for (uint32_t word = 1; word <= 32; ++word) {
        table[15][word] = word % 2 != 0 ? 100 + word / 2 : 199 + word / 2;
    }
    std::fill(std::begin(table[16]), std::end(table[16]), 5); // would match 5 if a search ran on
    const uint32_t lookups[][3] = {
        {0, 5, 0},  {16, 5, 0},     {17, 5, 0},     {UINT32_MAX, 5, 0}, {0x80000001, 1, 0}, // no such row
        {1, 1, 11}, {1, 2, 12},     {1, 0, 14},     {1, 0x10001, 0},    {1, 11, 0},
        {1, 3, 0},  {1, 4, 0},      {2, 5, 0},      {2, 6, 0},          {3, 0, 0}, // behind the end of the row
        {1, 77, 0}, {15, 200, 100}, {15, 215, 115}, {15, 5, 0},         {15, 100, 0}};
    for (const auto &[row, instance, translated] : lookups) {
        EXPECT_EQ(translate_user_entity_instance(table, row, instance), translated) << row << ", " << instance;
    }
    EXPECT_DEATH(translate_user_entity_instance(nullptr, 0, 0), "\\(\\(void \\*\\)0\\) != entity_tbl");
}

} // namespace
