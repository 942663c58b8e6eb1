// The walk of the whole SEL at start-up, and what follows it.
#include "sel_road.h"

#include <cstdarg>
#include <syslog.h>

static Lines syslog_lines;
static std::function<void()> on_syslog;

// Stands in front of the C library's for the library under test.
extern "C" void syslog(int priority, const char *format, ...) {
    char text[64];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    syslog_lines.push_back(std::to_string(priority) + " " + text);
    if (on_syslog)
        on_syslog();
}

namespace {

using Requests = std::vector<std::pair<uint16_t, uint16_t>>; // first record id, number of entries

sel_list_entry listed(const Record &record, uint32_t number) {
    sel_list_entry entry;
    std::memcpy(&entry.record, record.data(), record.size());
    std::memcpy(entry.sensor_number, &number, sizeof number);
    return entry;
}

// The road passes over it without a word, so that the walk's own line alone tells of it.
sel_list_entry ignored(size_t number) {
    return listed(event(0x10), static_cast<uint32_t>(number));
}

void fill_sel(size_t total) {
    for (size_t i = 0; i < total; ++i)
        world().sel.push_back(ignored(i));
}

Lines walk_lines(size_t count) {
    Lines lines;
    for (size_t i = 0; i < count; ++i)
        lines.push_back("populate_all_sel_events:Sensor num: " + std::to_string(i) + "\n");
    return lines;
}

TEST_F(SelRoad, WalkReadsTheSelInChunksOf512) {
    for (const size_t total : {0U, 1U, 511U, 512U, 513U, 600U, 1024U, 65535U}) {
        SCOPED_TRACE(total);
        arrange();
        Requests requests;
        for (size_t start = 0; start < total; start += 512)
            requests.emplace_back(start + 1, std::min<size_t>(512, total - start));
        fill_sel(total);
        if (total != 0)
            world().sel.back().record.record_type = 0xC0;
        EXPECT_EQ(populate_all_sel_events(), total == 0 ? 0 : -108); // the last record's result
        EXPECT_EQ(world().chunk_requests, requests);
        EXPECT_EQ(world().log, walk_lines(total));
    }
}

struct Chunk {
    uint32_t reported; // number of entries that DecodeSel claims
    uint32_t written;  // number that it puts into the decode area
    uint16_t next;
    int32_t result;
};

// Serves `chunks` in turn, whatever is asked for; their entries are numbered through.
void serve(const std::vector<Chunk> &chunks) {
    world().decode = [chunks](uint8_t *area, uint16_t, uint16_t, uint32_t *decoded) {
        EXPECT_EQ(reinterpret_cast<uint8_t *>(decoded), area + 12);
        std::memset(area, 0xEE, 4); // the request word is to be set before every call
        const size_t served = world().chunk_requests.size() - 1;
        const Chunk &chunk = chunks.at(served);
        size_t number = 0;
        for (size_t i = 0; i < served; ++i)
            number += chunks[i].written;
        for (size_t i = 0; i < chunk.written; ++i) {
            const sel_list_entry entry = ignored(number + i);
            std::memcpy(area + 180242 + sizeof entry * i, &entry, sizeof entry);
        }
        std::memcpy(area + 16, &chunk.next, sizeof chunk.next);
        *decoded = chunk.reported;
        return chunk.result;
    };
}

struct OddWalk {
    const char *what;
    size_t total;
    std::vector<Chunk> chunks;
    Requests requests;
    size_t processed;
    int32_t result;
};

constexpr uint32_t huge = UINT32_MAX;
const OddWalk odd_walks[] = {
    {"odd next id", 600, {{512, 512, 0x2000, 0}, {88, 88, 7, 0}}, {{1, 512}, {0x2000, 88}}, 600, 0},
    {"early end", 1500, {{512, 512, 0xFFFF, 0}}, {{1, 512}}, 512, 0},
    {"short chunk", 1030, {{9, 9, 10, 0}, {512, 512, 522, 0}, {6, 6, 9, 0}}, {{1, 512}, {10, 512}, {522, 6}}, 527, 0},
    {"nothing", 600, {{0, 0, 2, 0}, {0, 0, 3, 0}}, {{1, 512}, {2, 88}}, 0, 0},
    {"more than the list holds", 3, {{600, 512, 0xFFFF, 0}}, {{1, 3}}, 3, 0},
    {"more than a chunk", 600, {{513, 512, 513, 0}, {88, 88, 0xFFFF, 0}}, {{1, 512}, {513, 88}}, 600, 0},
    {"far more", 600, {{huge, 512, 513, 0}, {huge, 512, 9, 0}}, {{1, 512}, {513, 88}}, 600, 0},
    {"more than asked", 513, {{10, 10, 11, 0}, {512, 512, 0xFFFF, 0}}, {{1, 512}, {11, 1}}, 513, 0},
    {"first chunk fails", 600, {{512, 512, 513, 1}}, {{1, 512}}, 0, -104},
    {"second chunk fails", 1100, {{512, 512, 513, 0}, {512, 512, 1025, -1}}, {{1, 512}, {513, 512}}, 0, -104},
};

TEST_F(SelRoad, WalkTakesWhatTheDecoderGives) {
    for (const OddWalk &row : odd_walks) {
        SCOPED_TRACE(row.what);
        arrange();
        world().sel.resize(row.total);
        serve(row.chunks);
        EXPECT_EQ(populate_all_sel_events(), row.result);
        EXPECT_EQ(world().chunk_requests, row.requests);
        EXPECT_EQ(world().log, walk_lines(row.processed));
    }
}

TEST_F(SelRoad, WalkGoesOnWhateverARecordGives) {
    Record oem = event(), unknown = event();
    oem[2] = 0xC0;
    unknown[11] = road_sensor + 1;
    world().sel = {listed(oem, 0), listed(unknown, 1), listed(event(), 2), listed(unknown, 0xFFFFFFFE)};
    EXPECT_EQ(populate_all_sel_events(), -105);
    Lines lines = walk_lines(3);
    lines.push_back("populate_all_sel_events:Sensor num: -2\n");
    EXPECT_EQ(log_lines("populate"), lines);
    EXPECT_EQ(fe_fault_count, 1U);
    EXPECT_TRUE(world().broadcasts.empty());
    const auto third = std::find(world().log.begin(), world().log.end(), lines[2]);
    EXPECT_EQ(*(third - 1), "Exited update_fe_database err= 0\n"); // a line follows its record
}

TEST_F(SelRoad, WalkNeedsSizeAndMemory) {
    fill_sel(3);
    world().total_result = 5;
    EXPECT_EQ(populate_all_sel_events(), -1);
    world().total_result = 0;
    {
        const FailCall no_memory(Call::allocate, 1);
        EXPECT_EQ(populate_all_sel_events(), 0);
        EXPECT_EQ(no_memory.count(), 1);
    }
    EXPECT_EQ(world().calls, (Lines{"SELTotalSEL", "SELTotalSEL"}));
    EXPECT_TRUE(world().log.empty());
}

TEST_F(SelRoad, WalkFitsAStackOf512KiB) {
    fill_sel(600);
    world().sel[599] = listed(event(), 599);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 512 * 1024);
    pthread_t thread;
    const auto walk = [](void *) -> void * { return populate_all_sel_events() == 0 ? world().sel.data() : nullptr; };
    ASSERT_EQ(pthread_create(&thread, &attributes, walk, nullptr), 0);
    void *done = nullptr;
    pthread_join(thread, &done);
    pthread_attr_destroy(&attributes);
    EXPECT_NE(done, nullptr);
    EXPECT_EQ(fe_fault_count, 1U);
}

// The SEL holds one fault, whose sensor goes quiet during the pause; the table holds two duplicates already.
TEST_F(SelRoad, StartUpWalksTidiesAndOnlyThenWrites) {
    for (const auto &[code, related] : {std::pair(1, 0), {2, 0}, {2, 1}})
        store(code, related);
    world().sel = {listed(event(), 0)};
    world().readings[road_sensor] = 0x01;
    world().on_sleep = [](int32_t) {
        EXPECT_EQ(log_lines("Inside cleanup").size(), 1U);
        EXPECT_EQ(fe_fault_count, 3U);
        world().readings[road_sensor] = 0xC0;
    };
    syslog_lines.clear();
    on_syslog = [this] {
        EXPECT_EQ(sel_init_complete, 1);
        EXPECT_EQ(fe_fault_count, 1U);
        EXPECT_EQ(sandbox.bytes("fe_table.sz"), "<missing>");
    };
    EXPECT_EQ(init_event_thread(), 0);
    on_syslog = nullptr;

    EXPECT_EQ(world().sleeps, std::vector<int32_t>{5});
    EXPECT_EQ(syslog_lines, Lines{"7 SEL INIT DONE\n"});
    const std::string stale = "Inside cleanup_deasserted_events...\n";
    EXPECT_EQ(log_lines("Inside cleanup"), (Lines{stale, stale, "Inside cleanup_duplicate_events...\n"}));
    EXPECT_TRUE(world().broadcasts.empty());
    EXPECT_EQ(sandbox.bytes("fe_table.sz"), std::string("\1\0\0\0", 4));
    EXPECT_EQ(sandbox.bytes("fe_table.entry").size(), sizeof(fe_write_buf));
}

TEST_F(SelRoad, StartUpFinishesWhateverTheWalkGives) {
    for (const int32_t result : {0, -1, -104}) {
        SCOPED_TRACE(result);
        arrange();
        fill_sel(result == 0 ? 0 : 1);
        world().total_result = result == -1 ? 3 : 0;
        serve({{1, 1, 0xFFFF, 3}});
        syslog_lines.clear();
        EXPECT_EQ(init_event_thread(), result);
        EXPECT_EQ(world().log, Lines(2, "Inside cleanup_deasserted_events...\n"));
        EXPECT_EQ(world().sleeps, std::vector<int32_t>{5});
        EXPECT_EQ(syslog_lines.size(), 1U);
        EXPECT_EQ(sel_init_complete, 1);
        EXPECT_EQ(sandbox.bytes("fe_table.sz"), std::string(4, '\0'));
        EXPECT_EQ(sandbox.bytes("fe_table.entry"), "");
    }
}

} // namespace
