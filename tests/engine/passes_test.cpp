// The passes of the fault processor: passes.txt tells what each says, from the dump to the broadcast, behind a line with
// the request and the result of its dispatch.
#include "live_engine.h"

#include <sstream>

#include "expected_text.h"

namespace {

bool is_zero(const auto &object) {
    static const std::remove_cvref_t<decltype(object)> zero{};
    return std::memcmp(&object, &zero, sizeof object) == 0;
}

TEST_F(LiveEngine, PassesGoAsTold) {
    Request placed{};
    int dispatch_result = 0;
    world().dispatch = [&](const std::string &, Request &request, Block &wbuf) {
        EXPECT_EQ(fe_flag(&fe_read_complete), 0);
        EXPECT_TRUE(is_zero(*rbuf->fe_read_buf) && is_zero(*wbuf.fe_write_buf));
        EXPECT_TRUE(is_free(rbuf->fe_read_buf_mutex) && is_free(rbuf->fe_read_wait_mutex));
        EXPECT_TRUE(!is_free(wbuf.fe_write_buf_mutex) && is_free(fe_table_mutex));
        EXPECT_EQ(std::memcmp(&request, &placed, sizeof placed), 0);
        std::memcpy(wbuf.fe_write_buf, &request, sizeof request);
        std::strcpy(wbuf.fe_write_buf->severity_word, "the filter's");
        return dispatch_result;
    };
    world().on_broadcast = [&](Block *wbuf) {
        EXPECT_EQ(wbuf, fe_write_buf_struct_ptr);
        EXPECT_TRUE(!is_free(wbuf->fe_write_buf_mutex) && is_free(fe_table_mutex));
        fe_logger("> broadcast: %s%s\n", wbuf->fe_write_buf->severity_word,
                  fe_flag(&syslog_filter) != 0 ? ", filtered" : "");
    };
    start();
    const std::string expected = expected_text("engine/passes.txt");
    std::istringstream lines(expected);
    std::string told;
    for (std::string line; std::getline(lines, line);) {
        int entity = 0, severity = 0;
        if (sscanf(line.c_str(), "##### entity %d, severity %d, dispatch %d", &entity, &severity, &dispatch_result) !=
            3)
            continue;
        fe_set_flag(&syslog_filter, 0);
        place(*rbuf, placed = request_of(static_cast<uint8_t>(entity), severity));
        await([] { return has_logged("Exited the process_write_buf"); });
        Block &wbuf = *fe_write_buf_struct_ptr;
        pthread_mutex_lock(&wbuf.fe_write_buf_mutex); // the pass is over
        EXPECT_TRUE(is_zero(*wbuf.fe_write_buf));
        told += line + "\n";
        for (const std::string &part : std::exchange(world().log, {}))
            told += part.starts_with('\n') || part.starts_with('>') ? part : ""; // the table's are told elsewhere
        pthread_mutex_unlock(&wbuf.fe_write_buf_mutex);
    }
    EXPECT_EQ(told, expected);
    close();
    join_both();
}

} // namespace
