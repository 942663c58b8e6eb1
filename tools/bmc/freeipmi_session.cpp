// IPMI sessions by libfreeipmi.
#include <freeipmi/freeipmi.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>
#include <string_view>

#include "tools/bmc/ipmi_session.h"

namespace bmc {
namespace {

// What the library waits in all, and before it repeats a question, which has to be less.
unsigned timeout_ms(const Access &access) {
    return access.timeout_s * 1000;
}
unsigned repeat_after_ms(const Access &access) {
    return std::min(1000U, timeout_ms(access) / 2);
}

struct CloseContext {
    void operator()(ipmi_ctx_t context) const {
        ipmi_ctx_close(context);
        ipmi_ctx_destroy(context);
    }
};
using Context = std::unique_ptr<ipmi_ctx, CloseContext>;

struct DestroySdrContext {
    void operator()(ipmi_sdr_ctx_t context) const { ipmi_sdr_ctx_destroy(context); }
};
using SdrContext = std::unique_ptr<ipmi_sdr_ctx, DestroySdrContext>;

struct ErrorWords {
    int error;
    BmcError::Kind kind;
    const char *words;
};
using enum BmcError::Kind;
constexpr ErrorWords error_words[] = {
    {IPMI_ERR_USERNAME_INVALID, refused, "the BMC does not know the user, or gives that user no access here"},
    {IPMI_ERR_PASSWORD_INVALID, refused, "wrong password"},
    {IPMI_ERR_PASSWORD_VERIFICATION_TIMEOUT, refused, "the BMC stopped answering at the password: a wrong one?"},
    {IPMI_ERR_K_G_INVALID, refused, "the BMC wants a BMC key (K_g)"},
    {IPMI_ERR_PRIVILEGE_LEVEL_INSUFFICIENT, refused, "the privilege level is too low; -L chooses another"},
    {IPMI_ERR_PRIVILEGE_LEVEL_CANNOT_BE_OBTAINED, refused,
     "the user cannot have this privilege level; -L chooses another, and some BMCs need --workaround opensesspriv"},
    {IPMI_ERR_AUTHENTICATION_TYPE_UNAVAILABLE, refused, "no authentication by MD5; try -I lanplus"},
    {IPMI_ERR_CIPHER_SUITE_ID_UNAVAILABLE, refused, "the BMC refuses the cipher suite; -C chooses another"},
    {IPMI_ERR_IPMI_2_0_UNAVAILABLE, refused, "the BMC has no IPMI 2.0; try -I lan"},
    {IPMI_ERR_BAD_RMCPPLUS_STATUS_CODE, refused, "the BMC refuses the session"},
    {IPMI_ERR_IPMI_ERROR, refused, "the BMC refuses the session; -C chooses another cipher suite"},
    {IPMI_ERR_HOSTNAME_INVALID, network, "unknown host"},
    {IPMI_ERR_CONNECTION_TIMEOUT, network, "no answer"},
    {IPMI_ERR_SESSION_TIMEOUT, network, "the session is lost: no answer"},
    {IPMI_ERR_BMC_BUSY, busy, "the BMC is busy"},
    {IPMI_ERR_DRIVER_BUSY, busy, "the BMC is busy"},
    {IPMI_ERR_MESSAGE_TIMEOUT, busy, "the BMC has no answer from a controller behind it"},
};

std::string system_words(int error, int number, const char *library_words) {
    return error == IPMI_ERR_SYSTEM_ERROR && number != 0 ? strerror(number) : library_words;
}

// `number` is errno as the failing call left it.
BmcError failure(ipmi_ctx_t context, int number) {
    const int error = ipmi_ctx_errnum(context);
    const auto *known = std::ranges::find(error_words, error, &ErrorWords::error);
    if (known != std::end(error_words)) {
        return {known->kind, known->words};
    }
    return {network, system_words(error, number, ipmi_ctx_errormsg(context))};
}

// HOST or [HOST], with the port behind it unless there is one.
std::string with_port(const Access &access) {
    const std::string &host = access.host;
    const auto colons = std::ranges::count(host, ':');
    const bool has_port = host.starts_with('[') ? host.find("]:") != host.npos : colons == 1;
    if (has_port) {
        return host;
    }
    const bool bare_ipv6 = colons > 1 && !host.starts_with('[');
    return (bare_ipv6 ? "[" + host + "]" : host) + ":" + std::to_string(access.port);
}

// A file that nobody else sees, and that is gone with the process, however that ends.
class MemoryFile {
public:
    MemoryFile() : fd_(memfd_create("sdr", MFD_CLOEXEC)) {
        if (fd_ < 0) {
            throw BmcError(network, std::string("cannot make a file in memory: ") + strerror(errno));
        }
    }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

private:
    int fd_;
};

class FreeipmiSession : public IpmiSession {
public:
    explicit FreeipmiSession(Context context) : context_(std::move(context)) {}

    Answer command(uint8_t lun, uint8_t net_function, std::initializer_list<uint8_t> request) override;
    Bytes read_sdr(const SdrProgress &progress) override;

private:
    [[noreturn]] void fail_with(const SdrContext &sdr);

    Context context_;
};

Answer FreeipmiSession::command(uint8_t lun, uint8_t net_function, std::initializer_list<uint8_t> request) {
    uint8_t answer[256]; // command, completion code, data
    errno = 0;
    const int length = ipmi_cmd_raw(context_.get(), lun, net_function, std::data(request),
                                    static_cast<unsigned>(request.size()), answer, sizeof answer);
    if (length < 0) {
        throw failure(context_.get(), errno);
    }
    if (length < 2) {
        throw BmcError(network, "an answer is cut short");
    }
    return {answer[1], Bytes(answer + 2, answer + length)};
}

void report_record(uint8_t, uint16_t total, uint32_t, uint32_t, uint16_t, void *counter) {
    auto &[done, report] = *static_cast<std::pair<size_t, const SdrProgress &> *>(counter);
    report(++done, total);
}

int append_record(ipmi_sdr_ctx_t, uint8_t, const void *record, unsigned length, void *bytes) {
    const auto *first = static_cast<const uint8_t *>(record);
    auto &all = *static_cast<Bytes *>(bytes);
    all.insert(all.end(), first, first + length);
    return 0;
}

void FreeipmiSession::fail_with(const SdrContext &sdr) {
    const int number = errno;
    switch (ipmi_sdr_ctx_errnum(sdr.get())) {
    case IPMI_SDR_ERR_IPMI_ERROR: throw failure(context_.get(), number);
    case IPMI_SDR_ERR_CACHE_OUT_OF_DATE:
    case IPMI_SDR_ERR_CACHE_CREATE_INVALID_RECORD_COUNT: // not as many as there were at the begin
    case IPMI_SDR_ERR_CACHE_CREATE_DUPLICATE_RECORD_ID:
        throw BmcError(busy, "the sensor data records have changed while they were read");
    default:
        throw BmcError(network,
                       std::string("cannot read the sensor data records: ") + ipmi_sdr_ctx_errormsg(sdr.get()));
    }
}

Bytes FreeipmiSession::read_sdr(const SdrProgress &progress) {
    const MemoryFile cache; // the library keeps them in a file
    const SdrContext sdr(ipmi_sdr_ctx_create());
    if (!sdr) {
        throw std::bad_alloc();
    }
    std::pair<size_t, const SdrProgress &> counter{0, progress};
    errno = 0;
    if (ipmi_sdr_cache_create(sdr.get(), context_.get(), cache.path().c_str(), IPMI_SDR_CACHE_CREATE_FLAGS_OVERWRITE,
                              report_record, &counter) != 0) {
        fail_with(sdr);
    }
    Bytes records;
    // Opened together with the session, the cache is compared with the repository's times of change.
    if (ipmi_sdr_cache_open(sdr.get(), context_.get(), cache.path().c_str()) != 0 ||
        ipmi_sdr_cache_iterate(sdr.get(), append_record, &records) != 0) {
        fail_with(sdr);
    }
    return records;
}

constexpr uint8_t preferred_suite = 17;
constexpr uint8_t older_suite = 3;

// What a BMC may say to a cipher suite that it does not have.
bool is_about_the_suite(int error) {
    return error == IPMI_ERR_CIPHER_SUITE_ID_UNAVAILABLE || error == IPMI_ERR_BAD_RMCPPLUS_STATUS_CODE ||
           error == IPMI_ERR_IPMI_ERROR;
}

int open_lanplus(ipmi_ctx_t context, const Access &access, uint8_t suite) {
    return ipmi_ctx_open_outofband_2_0(context, with_port(access).c_str(), access.user.c_str(), access.password.c_str(),
                                       nullptr, 0, access.privilege, suite, timeout_ms(access), repeat_after_ms(access),
                                       access.workarounds, IPMI_FLAGS_DEFAULT);
}

int open_lan(ipmi_ctx_t context, const Access &access) {
    return ipmi_ctx_open_outofband(context, with_port(access).c_str(), access.user.c_str(), access.password.c_str(),
                                   IPMI_AUTHENTICATION_TYPE_MD5, access.privilege, timeout_ms(access),
                                   repeat_after_ms(access), access.workarounds, IPMI_FLAGS_DEFAULT);
}

struct Workaround {
    std::string_view name;
    bool lanplus;
    uint32_t flag;
};
constexpr Workaround workarounds[] = {
    {"authcap", false, IPMI_WORKAROUND_FLAGS_OUTOFBAND_AUTHENTICATION_CAPABILITIES},
    {"idzero", false, IPMI_WORKAROUND_FLAGS_OUTOFBAND_ACCEPT_SESSION_ID_ZERO},
    {"unexpectedauth", false, IPMI_WORKAROUND_FLAGS_OUTOFBAND_CHECK_UNEXPECTED_AUTHCODE},
    {"forcepermsg", false, IPMI_WORKAROUND_FLAGS_OUTOFBAND_FORCE_PERMSG_AUTHENTICATION},
    {"endianseq", false, IPMI_WORKAROUND_FLAGS_OUTOFBAND_BIG_ENDIAN_SEQUENCE_NUMBER},
    {"noauthcodecheck", false, IPMI_WORKAROUND_FLAGS_OUTOFBAND_NO_AUTH_CODE_CHECK},
    {"nochecksumcheck", false, IPMI_WORKAROUND_FLAGS_OUTOFBAND_NO_CHECKSUM_CHECK},
    {"authcap", true, IPMI_WORKAROUND_FLAGS_OUTOFBAND_2_0_AUTHENTICATION_CAPABILITIES},
    {"intel20", true, IPMI_WORKAROUND_FLAGS_OUTOFBAND_2_0_INTEL_2_0_SESSION},
    {"supermicro20", true, IPMI_WORKAROUND_FLAGS_OUTOFBAND_2_0_SUPERMICRO_2_0_SESSION},
    {"sun20", true, IPMI_WORKAROUND_FLAGS_OUTOFBAND_2_0_SUN_2_0_SESSION},
    {"opensesspriv", true, IPMI_WORKAROUND_FLAGS_OUTOFBAND_2_0_OPEN_SESSION_PRIVILEGE},
    {"integritycheckvalue", true, IPMI_WORKAROUND_FLAGS_OUTOFBAND_2_0_NON_EMPTY_INTEGRITY_CHECK_VALUE},
    {"nochecksumcheck", true, IPMI_WORKAROUND_FLAGS_OUTOFBAND_2_0_NO_CHECKSUM_CHECK},
};

} // namespace

std::unique_ptr<IpmiSession> open_session(const Access &access) {
    std::vector<uint8_t> suites = {preferred_suite, older_suite};
    if (!access.lanplus || access.suite) {
        suites = {access.suite.value_or(older_suite)};
    }
    for (const uint8_t suite : suites) {
        Context context(ipmi_ctx_create());
        if (!context) {
            throw std::bad_alloc();
        }
        errno = 0;
        const int result =
            access.lanplus ? open_lanplus(context.get(), access, suite) : open_lan(context.get(), access);
        if (result == 0) {
            return std::make_unique<FreeipmiSession>(std::move(context));
        }
        if (suite == suites.back() || !is_about_the_suite(ipmi_ctx_errnum(context.get()))) {
            throw failure(context.get(), errno);
        }
    }
    return nullptr; // not reached: there is a last suite
}

std::optional<uint32_t> workaround_flags(const std::string &list, bool lanplus) {
    uint32_t flags = 0;
    std::istringstream words(list);
    for (std::string word; std::getline(words, word, ',');) {
        const auto *known = std::ranges::find_if(
            workarounds, [&](const Workaround &each) { return each.name == word && each.lanplus == lanplus; });
        if (known == std::end(workarounds)) {
            return std::nullopt;
        }
        flags |= known->flag;
    }
    return flags;
}

} // namespace bmc
