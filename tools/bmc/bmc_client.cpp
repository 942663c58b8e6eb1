#include "tools/bmc/bmc_client.h"

#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>
#include <thread>

namespace bmc {

struct FailedAnswer {
    BmcError::Kind kind;
    std::string line;
};

struct Question {
    std::function<void(std::unique_ptr<Bmc> &)> job; // owns all it needs: who asked may be gone
    bool answered = false;
    std::optional<FailedAnswer> failure;
};

struct BmcClient::Talk {
    Access access; // only read
    std::mutex lock;
    std::condition_variable changed; // with lock, which protects all below
    std::deque<std::shared_ptr<Question>> questions;
    bool called_off = false;
    bool ended = false;
};

namespace {

constexpr std::chrono::seconds longest_goodbye{1};

std::optional<FailedAnswer> answer(const Question &question, std::unique_ptr<Bmc> &bmc) {
    try {
        question.job(bmc);
    } catch (const BmcError &error) {
        return FailedAnswer{error.kind, error.what()};
    } catch (const std::exception &error) {
        return FailedAnswer{BmcError::Kind::network, error.what()};
    }
    return std::nullopt;
}

} // namespace

void BmcClient::talk(const std::shared_ptr<Talk> &talk) {
    std::unique_ptr<Bmc> bmc;
    std::unique_lock lock(talk->lock);
    for (;;) {
        talk->changed.wait(lock, [&] { return talk->called_off || !talk->questions.empty(); });
        if (talk->called_off) {
            break;
        }
        const std::shared_ptr<Question> question = talk->questions.front();
        talk->questions.pop_front();
        lock.unlock();
        std::optional<FailedAnswer> failure = answer(*question, bmc);
        lock.lock();
        question->failure = std::move(failure);
        question->answered = true;
        talk->changed.notify_all();
    }
    lock.unlock();
    bmc.reset(); // says good-bye to the BMC, which has few sessions to give
    lock.lock();
    talk->ended = true;
    talk->changed.notify_all();
}

BmcClient::BmcClient(Access access) : talk_(std::make_shared<Talk>()) {
    talk_->access = std::move(access);
    sigset_t all, before; // signals are others' business
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread([talk = talk_] { BmcClient::talk(talk); }).detach();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

BmcClient::~BmcClient() {
    leave();
}

void BmcClient::run(Job job) {
    const auto question = std::make_shared<Question>();
    question->job = std::move(job);
    std::unique_lock lock(talk_->lock);
    talk_->questions.push_back(question);
    talk_->changed.notify_all();
    talk_->changed.wait(lock, [&] { return question->answered || talk_->called_off; });
    if (!question->answered) {
        throw CalledOff();
    }
    if (question->failure) {
        throw BmcError(question->failure->kind, question->failure->line);
    }
}

template <class T>
T BmcClient::ask(std::function<T(Bmc &)> question) {
    const auto result = std::make_shared<std::optional<T>>();
    run([result, question = std::move(question)](std::unique_ptr<Bmc> &bmc) {
        if (!bmc) {
            throw BmcError(BmcError::Kind::network, "there is no session");
        }
        result->emplace(question(*bmc));
    });
    return std::move(**result);
}

void BmcClient::connect() {
    run([talk = talk_](std::unique_ptr<Bmc> &bmc) {
        bmc.reset();
        bmc = std::make_unique<Bmc>(open_session(talk->access));
    });
}

SelInfo BmcClient::sel_info() {
    return ask<SelInfo>([](Bmc &bmc) { return bmc.sel_info(); });
}

std::optional<SelEntry> BmcClient::sel_entry(uint16_t id) {
    return ask<std::optional<SelEntry>>([id](Bmc &bmc) { return bmc.sel_entry(id); });
}

Bytes BmcClient::sdr(const SdrProgress &progress) {
    return ask<Bytes>([progress](Bmc &bmc) { return bmc.sdr(progress); });
}

SdrTimes BmcClient::sdr_times() {
    return ask<SdrTimes>([](Bmc &bmc) { return bmc.sdr_times(); });
}

std::optional<States> BmcClient::states(SensorAddress sensor, std::string &why) {
    using Reading = std::pair<std::optional<States>, std::string>;
    Reading reading = ask<Reading>([sensor](Bmc &bmc) {
        std::string reason;
        const std::optional<States> bits = bmc.states(sensor, reason);
        return Reading(bits, reason);
    });
    why = std::move(reading.second);
    return reading.first;
}

void BmcClient::call_off() {
    const std::lock_guard lock(talk_->lock);
    talk_->called_off = true;
    talk_->changed.notify_all();
}

bool BmcClient::leave() {
    call_off();
    std::unique_lock lock(talk_->lock);
    return talk_->changed.wait_for(lock, longest_goodbye, [this] { return talk_->ended; });
}

} // namespace bmc
