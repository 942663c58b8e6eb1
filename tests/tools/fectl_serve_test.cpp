// fectl serve, request and event as processes: both roads to one table, and the ends of a server. Nothing here depends on
// timing: lines are waited for, up to a deadline that only a hang reaches.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <thread>

#include <gtest/gtest.h>

#include "run_fectl.h"

namespace {

constexpr std::chrono::seconds hang{100};

bool await(const std::function<bool()> &happened) {
    const auto deadline = std::chrono::steady_clock::now() + hang;
    while (!happened() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    return happened();
}

// A server with its socket, its FIFO and its output in `folder`.
class Server {
public:
    Server(const Folder &folder, const std::string &arguments) : folder_(folder) {
        const std::string command = "exec " FECTL_COMMAND " serve --file-dir " + folder.path("table") + " " +
                                    arguments + " >" + folder.path("serve.out") + " 2>" + folder.path("serve.err");
        std::filesystem::remove(folder.path("serve.err")); // of the server before
        pid_ = fork();
        if (pid_ == 0) {
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
        EXPECT_TRUE(await([this] { return says("err", "ready: ") || has_ended(); }));
        EXPECT_FALSE(has_ended()) << folder_.read("serve.err");
    }
    ~Server() { end(SIGKILL); }
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    bool says(const std::string &where, const std::string &text) const {
        return folder_.read("serve." + where).find(text) != std::string::npos;
    }
    void await_line(const std::string &text) const {
        EXPECT_TRUE(await([&] { return says("out", text); })) << text << "\n" << folder_.read("serve.out");
    }

    // Returns when it has ended; the signal 0 waits for that alone.
    Outcome end(int signal) {
        if (!ended_)
            kill(pid_, signal);
        EXPECT_TRUE(await([this] { return has_ended(); }));
        return {WIFEXITED(status_) ? WEXITSTATUS(status_) : -1, folder_.read("serve.out"), folder_.read("serve.err")};
    }

private:
    bool has_ended() { return ended_ = ended_ || waitpid(pid_, &status_, WNOHANG) == pid_; }

    const Folder &folder_;
    pid_t pid_;
    int status_ = 0;
    bool ended_ = false;
};

// A client of our own, for what fectl does not send: datagrams of any size, without end.
class Client {
public:
    explicit Client(const std::string &path) : fd_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(connect(fd_, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    }
    ~Client() { close(fd_); }
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;
    bool send(const Bytes &datagram) const {
        return ::send(fd_, datagram.data(), datagram.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(datagram.size());
    }

private:
    int fd_;
};

class FectlServe : public testing::Test {
protected:
    FectlServe() {
        folder.write("sdr", sdr_record({1, 0x41, 29, 1, 4, 1, name_8_bit("FAN1")}) +
                                sdr_record({1, 0x01, 3, 1, 1, 1, name_8_bit("CPU")}));
    }
    void expect_done(const std::string &arguments) const {
        const Outcome run = run_fectl(folder, arguments);
        EXPECT_EQ(run.exit_code, 0) << run.err;
    }
    void request(const std::string &severity) const {
        expect_done("request --socket " + socket_path +
                    " --entity 29 --instance 1 --type 4 --event-type 1 --number 4 " +
                    "--sensor FAN1 --sensor-number 0x41 --severity " + severity);
    }
    void event(const Bytes &records) const {
        expect_done("event --fifo " + fifo_path + " " + folder.write("sel", records));
    }
    void write_torn_record() const {
        const int fifo = open(fifo_path.c_str(), O_WRONLY | O_NONBLOCK);
        EXPECT_EQ(write(fifo, "torn", 4), 4);
        int unread = 4;
        EXPECT_TRUE(await([&] { return ioctl(fifo, FIONREAD, &unread) == 0 && unread == 0; }));
        close(fifo);
    }

    const Folder folder;
    const std::string socket_path = folder.path("table/fectl.sock");
    const std::string fifo_path = folder.path("table/SA_vSEL_FIFO");
    const std::string sdr = "--sdr " + folder.path("sdr");
};

std::string without_times(const std::string &out) {
    std::string rest;
    for (size_t at = 0; at < out.size(); at = out.find('\n', at) + 1)
        rest += out.substr(at, out.find('\n', at) + 1 - at).substr(out[at] == '2' ? 20 : 0);
    return rest;
}

// The request names what the SEL road makes of the fan's event: entity 29.1, sensor type 4, a threshold event, fault number
// 4 (lower critical). From these the fault code follows, so both are the fault 29.1/393.
TEST_F(FectlServe, BothRoadsMeetInOneTable) {
    const Bytes fan_slow = sel_event(4, 0x41, 0x01, 0x52);
    Server server(folder, sdr + " --fifo-create");
    request("major");
    server.await_line("created      1    393");
    event(fan_slow);
    server.await_line("repeated     2    393");
    event(sel_event(1, 0x01, 0x01, 0x57) + sel_event(1, 0x01, 0x01, 0x59) + sel_event(1, 0x01, 0x81, 0x57));
    server.await_line("cleared      3    175");
    write_torn_record();
    event(fan_slow);
    server.await_line("repeated     3    393");
    const Client client(socket_path);
    for (const size_t size : {51U, 53U, 1U})
        EXPECT_TRUE(client.send(Bytes(size)));
    request("0");
    server.await_line("cleared      4    393");
    const Outcome run = server.end(SIGTERM);
    EXPECT_EQ(run.exit_code, 0);
    EXPECT_EQ(run.err,
              "ready: socket " + socket_path + ", FIFO " + fifo_path +
                  "\na datagram of 51 bytes dropped: a fault request has 52 (said once, the rest is counted)\n");
    EXPECT_EQ(without_times(run.out),
              R"(TIME                SEVERITY SENSOR              ENTITY  CHANGE   COUNT   CODE FAULT
major    FAN1                29.1    created      1    393 Fan critical
major    FAN1                29.1    repeated     2    393 Fan critical
minor    CPU                 3.1     created      1    175 fltProcessorUnitThermalNonCritical
major    CPU                 3.1     repeated     2    176 fltProcessorUnitThermalThresholdCritical
cleared  CPU                 3.1     cleared      3    175 fltProcessorUnitThermalNonCritical
major    FAN1                29.1    repeated     3    393 Fan critical
cleared  FAN1                29.1    cleared      4    393 Fan critical

TIME                SEVERITY SENSOR              ENTITY  CAUSE                COUNT   CODE FAULT

records         5 read: 5 processed, 0 ignored, 0 refused
requests        2 taken: 2 processed, 0 refused
                3 dropped: not 52 bytes
faults          2 created, 3 repeated, 2 cleared, 0 evicted, 0 active
)");
}

// Each start finds what the stop before has left; at each stop both roads are busy. What was taken was processed.
TEST_F(FectlServe, StopsUnderLoadAndStartsAgain) {
    const std::string rack = CAPTURES "/rack-server";
    const std::string arguments = "--sdr " + rack + ".sdr --sel " + rack + ".sel --fifo-create";
    for (const int signal : {SIGTERM, SIGINT, SIGTERM, SIGINT}) {
        Server server(folder, arguments);
        EXPECT_EQ(run_fectl(folder, "serve --sdr " + rack + ".sdr --file-dir " + folder.path("table")).err,
                  "fectl: " + socket_path + ": the socket is in use\n");
        std::thread events([&] { run_fectl(folder, "event --fifo " + fifo_path + " " + rack + ".sel"); });
        const Client client(socket_path);
        std::thread requests([&client] {
            Bytes fan_request(52);
            fan_request[0] = 29;
            fan_request[12] = 5;
            while (client.send(fan_request))
                continue;
        });
        server.await_line(" 29.0 ");
        const Outcome run = server.end(signal);
        events.join();
        requests.join();
        EXPECT_EQ(run.exit_code, 0) << run.err;
        size_t taken = 0, processed = 1;
        const size_t counts = run.out.find("\nrequests ");
        ASSERT_NE(counts, run.out.npos) << run.out;
        EXPECT_EQ(sscanf(run.out.c_str() + counts, "\nrequests %zu taken: %zu processed", &taken, &processed), 2);
        EXPECT_EQ(taken, processed) << run.out;
        EXPECT_FALSE(std::filesystem::exists(socket_path));
    }
}

// A server that was killed leaves its socket behind.
TEST_F(FectlServe, ReplacesAStaleSocket) {
    Server(folder, sdr + " --fifo-create").end(SIGKILL);
    EXPECT_TRUE(std::filesystem::exists(socket_path));
    EXPECT_NE(run_fectl(folder, "request --socket " + socket_path + " --entity 29 --instance 1 --severity 5")
                  .err.find(": nobody takes requests there"),
              std::string::npos);
    Server server(folder, sdr);
    EXPECT_EQ(
        run_fectl(folder, "serve " + sdr + " --socket " + folder.path("other") + " --file-dir " + folder.path("table"))
            .err,
        "fectl: " + fifo_path + ": another fectl serve reads the FIFO\n");
    request("minor");
    server.await_line("created      1    393");
    EXPECT_EQ(server.end(SIGINT).exit_code, 0);
}

// The reader is left without a FIFO: if it had one, the engine stops of itself; if it had none yet, it waits for one.
TEST_F(FectlServe, EndsWhenTheFifoIsGone) {
    {
        Server server(folder, sdr + " --fifo-create");
        unlink(fifo_path.c_str());
        EXPECT_NE(server.end(SIGTERM).out.find("0 active"), std::string::npos);
    }
    Server server(folder, sdr + " --fifo-create");
    event(sel_event(4, 0x41, 0x01, 0x52));
    server.await_line("created      1    393");
    unlink(fifo_path.c_str());
    const Outcome run = server.end(0);
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_NE(run.err.find("the engine has stopped: " + fifo_path), run.err.npos) << run.err;
}

} // namespace
