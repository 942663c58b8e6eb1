// The Unix datagram socket through which fault requests come, 52 bytes each.
#pragma once

#include <cstddef>
#include <string>

struct fe_read_buf;

// The engine's end.
class RequestSocket {
public:
    // Binds the path, in place of a socket that nobody serves any more. Throws Refusal, with nothing changed.
    explicit RequestSocket(const std::string &path);
    ~RequestSocket();
    RequestSocket(const RequestSocket &) = delete;
    RequestSocket &operator=(const RequestSocket &) = delete;

    int fd() const { return fd_; }
    const std::string &path() const { return path_; }

    // Removes the path: from now on nobody finds the socket.
    void withdraw();

    // Takes what is left, until nobody can send any more, and returns how many datagrams that was.
    size_t drain();

private:
    std::string path_;
    int fd_;
    bool bound_ = false;
};

// The other end. Throws Refusal when it cannot be sent.
void send_request(const std::string &path, const fe_read_buf &request);
