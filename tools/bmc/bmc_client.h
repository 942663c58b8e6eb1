// A BMC that any thread may ask, and from which anyone who waits can be called off, whatever the network does: a thread
// of its own does the talking and is left behind when it does not come back.
#pragma once

#include <functional>
#include <memory>

#include "tools/bmc/bmc.h"

namespace bmc {

class BmcClient : public LiveBmc {
public:
    explicit BmcClient(Access access);
    ~BmcClient();
    BmcClient(const BmcClient &) = delete;
    BmcClient &operator=(const BmcClient &) = delete;

    void connect() override;
    SelInfo sel_info() override;
    std::optional<SelEntry> sel_entry(uint16_t id) override;
    Bytes sdr(const SdrProgress &progress) override; // which is called in the thread that talks
    SdrTimes sdr_times() override;
    std::optional<States> states(SensorAddress sensor, std::string &why) override;

    // Throws CalledOff to those who wait, and from now on to all who ask.
    void call_off();

    // Calls off, and gives the session back. False when the thread that talks is held by the network; the process then has
    // to end by _exit().
    bool leave();

private:
    struct Talk;
    using Job = std::function<void(std::unique_ptr<Bmc> &)>;

    static void talk(const std::shared_ptr<Talk> &talk);
    void run(Job job);
    template <class T>
    T ask(std::function<T(Bmc &)> question);

    std::shared_ptr<Talk> talk_; // the thread's, too
};

} // namespace bmc
