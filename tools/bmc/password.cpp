#include "tools/bmc/password.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>

#include "tools/fectl.h"

namespace bmc {
namespace {

// The terminal without echo. Signals that would end or stop the process while it is so wait until the
// echo is back.
class SilentTerminal {
public:
    SilentTerminal() : fd_(open("/dev/tty", O_RDWR | O_CLOEXEC)) {
        if (fd_ < 0 || tcgetattr(fd_, &before_) != 0) {
            throw Refusal("there is no terminal to ask for the password; -f FILE or -E gives it");
        }
        sigemptyset(&held_);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP}) {
            sigaddset(&held_, signal);
        }
        pthread_sigmask(SIG_BLOCK, &held_, &mask_before_);
        signal_fd_ = signalfd(-1, &held_, SFD_CLOEXEC);
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(fd_, TCSAFLUSH, &silent);
    }
    ~SilentTerminal() {
        tcsetattr(fd_, TCSAFLUSH, &before_);
        close(signal_fd_);
        close(fd_);
        pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr);
    }
    SilentTerminal(const SilentTerminal &) = delete;
    SilentTerminal &operator=(const SilentTerminal &) = delete;

    void print(const std::string &text) const {
        [[maybe_unused]] const ssize_t written = write(fd_, text.data(), text.size());
    }

    // Without its end of line; nothing when a signal has come. Throws Refusal when nothing more can be typed.
    std::optional<std::string> read_line() const {
        pollfd ready[] = {{fd_, POLLIN, 0}, {signal_fd_, POLLIN, 0}};
        char line[256];
        while (poll(ready, 2, -1) < 0 && errno == EINTR) {
        }
        if (ready[1].revents != 0) {
            return std::nullopt;
        }
        const ssize_t length = read(fd_, line, sizeof line);
        if (length <= 0) {
            throw Refusal("no password was typed");
        }
        std::string text(line, static_cast<size_t>(length));
        explicit_bzero(line, sizeof line);
        return text.substr(0, text.find('\n'));
    }

private:
    int fd_;
    int signal_fd_ = -1;
    termios before_{};
    sigset_t held_{}, mask_before_{};
};

} // namespace

std::string password_in_file(const std::string &path) {
    std::ifstream file(path);
    std::string line;
    if (!file) {
        throw Refusal(path + ": cannot open: " + strerror(errno));
    }
    if (!std::getline(file, line)) {
        throw Refusal(path + ": there is no line in it");
    }
    return line.substr(0, line.find('\r'));
}

std::string password_in_environment() {
    char *value = getenv("IPMI_PASSWORD");
    if (value == nullptr) {
        throw Refusal("-E: IPMI_PASSWORD is not set");
    }
    std::string password = value;
    explicit_bzero(value, strlen(value));
    unsetenv("IPMI_PASSWORD");
    return password;
}

std::string ask_for_password(const std::string &user_at_host) {
    for (;;) {
        const SilentTerminal
            terminal; // at its end a signal that has come does what it does, and fectl may go on after it
        terminal.print("Password of " + user_at_host + ": ");
        std::optional<std::string> password = terminal.read_line();
        terminal.print("\n");
        if (password) {
            return *std::move(password);
        }
    }
}

} // namespace bmc
