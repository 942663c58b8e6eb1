#include "tools/request_socket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "fault_engine/fault_request.h"
#include "tools/fectl.h"

namespace {

constexpr timeval longest_send{.tv_sec = 10, .tv_usec = 0};

[[noreturn]] void refuse(const std::string &path, const std::string &what) {
    throw Refusal(path + ": " + what);
}

sockaddr_un address_of(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        refuse("'" + path + "'",
               "a socket's path has 1 to " + std::to_string(sizeof address.sun_path - 1) + " characters");
    }
    path.copy(address.sun_path, path.size());
    return address;
}

class Descriptor {
public:
    Descriptor() : fd_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        if (fd_ < 0) {
            throw Refusal(std::string("cannot make a socket: ") + strerror(errno));
        }
    }
    ~Descriptor() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }

private:
    int fd_;
};

// Both return 0 or the error.
int connect_to(int fd, const sockaddr_un &address) {
    return connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 ? 0 : errno;
}
int bind_to(int fd, const sockaddr_un &address) {
    return bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 ? 0 : errno;
}

// A socket file outlives a server that was killed; a server that lives answers connect().
void remove_stale_socket(const std::string &path, const sockaddr_un &address) {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0 && !S_ISSOCK(status.st_mode)) {
        refuse(path, "exists and is not a socket");
    }
    const Descriptor probe;
    const int error = connect_to(probe.get(), address);
    if (error == 0 || error == EPROTOTYPE) {
        refuse(path, "the socket is in use");
    }
    if (error != ECONNREFUSED && error != ENOENT) {
        refuse(path, std::string("cannot tell whether the socket is in use: ") + strerror(error));
    }
    unlink(path.c_str());
}

} // namespace

RequestSocket::RequestSocket(const std::string &path) : path_(path), fd_(-1) {
    const sockaddr_un address = address_of(path);
    Descriptor socket;
    int error = bind_to(socket.get(), address);
    if (error == EADDRINUSE) {
        remove_stale_socket(path, address);
        error = bind_to(socket.get(), address);
    }
    if (error != 0) {
        refuse(path, std::string("cannot create the socket: ") + strerror(error));
    }
    bound_ = true;
    fd_ = socket.release();
}

RequestSocket::~RequestSocket() {
    withdraw();
    close(fd_);
}

void RequestSocket::withdraw() {
    if (std::exchange(bound_, false)) {
        unlink(path_.c_str());
    }
}

size_t RequestSocket::drain() {
    constexpr size_t most = size_t{1} << 16; // from those who go on sending
    size_t datagrams = 0;
    char byte;
    while (datagrams < most && recv(fd_, &byte, sizeof byte, MSG_DONTWAIT) >= 0) {
        ++datagrams;
    }
    shutdown(fd_, SHUT_RD); // from now on nothing left and an empty datagram look the same
    while (recv(fd_, &byte, sizeof byte, MSG_DONTWAIT) > 0) {
        ++datagrams;
    }
    return datagrams;
}

void send_request(const std::string &path, const fe_read_buf &request) {
    const sockaddr_un address = address_of(path);
    const Descriptor socket;
    if (const int error = connect_to(socket.get(), address); error == ECONNREFUSED) {
        refuse(path, "nobody takes requests there (is fectl serve running?)");
    } else if (error != 0) {
        refuse(path, std::string("cannot connect: ") + strerror(error));
    }
    setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &longest_send, sizeof longest_send);
    if (send(socket.get(), &request, sizeof request, MSG_NOSIGNAL) == static_cast<ssize_t>(sizeof request)) {
        return;
    }
    refuse(path, errno == EAGAIN ? "the engine takes no requests" : std::string("cannot send: ") + strerror(errno));
}
