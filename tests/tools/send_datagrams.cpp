// Sends what it reads as one datagram: send_datagrams SOCKET once, or until nobody takes it any more.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

int main(int, char **argv) {
    char datagram[100];
    size_t size = 0;
    for (ssize_t got; (got = read(STDIN_FILENO, datagram + size, sizeof datagram - size)) > 0;) {
        size += static_cast<size_t>(got);
    }
    sockaddr_un address{AF_UNIX, {}};
    strncpy(address.sun_path, argv[1], sizeof address.sun_path - 1);
    const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    if (connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        return 1;
    }
    const bool once = strcmp(argv[2], "once") == 0;
    while (send(fd, datagram, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size)) {
        if (once) {
            return 0;
        }
    }
    return 1;
}
