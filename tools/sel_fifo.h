// The FIFO through which SEL records come, 16 bytes each.
#pragma once

#include <cstddef>
#include <string>

struct sel_record;

// The engine's end. It is kept open from before the engine starts: records written during the start-up walk wait in it.
class SelFifo {
public:
    // Makes the FIFO if it is missing and `create` says so. Throws Refusal when it cannot be had, or is another's.
    SelFifo(const std::string &path, bool create);
    ~SelFifo();
    SelFifo(const SelFifo &) = delete;
    SelFifo &operator=(const SelFifo &) = delete;

    const std::string &path() const { return path_; }

    // Lets the engine's reader, wherever it waits, see that the engine has stopped.
    void wake_reader();

    // After the reader has ended: takes what is left, and returns how many records that was, with one that the reader
    // read after the stop and dropped.
    size_t drain();

private:
    std::string path_;
    int fd_;
    int fd_at_stop_ = -1;
};

// The calling thread is the one that runs the engine's reader: what it reads is seen from now on.
void watch_fifo_reader();
// The record that it read last is the engine's.
void fifo_record_taken();

// The other end.
class SelWriter {
public:
    // Throws Refusal when nobody reads. A reader that goes away meanwhile raises SIGPIPE.
    explicit SelWriter(const std::string &path);
    ~SelWriter();
    SelWriter(const SelWriter &) = delete;
    SelWriter &operator=(const SelWriter &) = delete;

    // Writes the 16 bytes at once; waits while the FIFO is full. False with errno set when it fails.
    bool write_record(const sel_record &record) const;

private:
    int fd_;
};
