#pragma once

#include "CurlFault.h"
#include "CurlHandles.h"

#include <atomic>
#include <chrono>
#include <cstdint>

namespace avr { namespace host {

/// A transfer that runs on the thread that wants its bytes; nothing happens between the calls.
class CurlTransfer final : public HttpTransfer {
public:
    explicit CurlTransfer(HttpRequest const& request);
    ~CurlTransfer() override;
    CurlTransfer(CurlTransfer const&) = delete;

    HttpResult begin(HttpAnswer& answer) override;
    HttpResult read(void* to, std::size_t room, std::size_t& got) override;
    HttpFault fault() const override { return m_fault.fault; }
    void interrupt() override
    {
        m_interrupted = true;
        curl_multi_wakeup(m_curl->multi);
    }
    void cancel() override
    {
        m_cancelled = true;
        curl_multi_wakeup(m_curl->multi);
    }

private:
    using Clock = std::chrono::steady_clock;

    template <class Value>
    void set(CURLoption option, Value value)
    {
        m_ready = curl_easy_setopt(m_curl->easy, option, value) == CURLE_OK && m_ready;
    }
    void setUp(HttpRequest const& request);
    void setCallbacks();
    bool makeProgress();
    void noteEnd();
    HttpResult drive(bool (CurlTransfer::*done)() const);
    bool hasHead() const { return m_headIsWhole; }
    bool hasBytes() const { return m_filled != 0; }
    std::size_t takeRest();
    std::size_t take(const std::uint8_t* data, std::size_t bytes);
    void takeHeaderLine(std::string const& line);
    HttpResult fail(int number, const char* text);

    static std::size_t onBody(char* data, std::size_t, std::size_t bytes, void* self);
    static std::size_t onHeader(char* data, std::size_t, std::size_t bytes, void* self);
    static int onLookUp(void*, void*, void* self);
    static curl_socket_t onSocket(void* self, curlsocktype, curl_sockaddr* address);
    static int onConnected(void* self, char*, char*, int, int);

    std::unique_ptr<CurlHandles> m_curl = std::make_unique<CurlHandles>();
    std::chrono::milliseconds const m_connectLimit;
    std::chrono::milliseconds const m_stallLimit;
    std::atomic<bool> m_cancelled{false};
    std::atomic<bool> m_interrupted{false};
    bool m_ready = true;      ///< libcurl has taken every wish
    bool m_lookingUp = false; ///< the system looks for the host
    bool m_connected = false;
    Clock::time_point m_progressAt; ///< of the last byte, or step towards one
    char m_words[CURL_ERROR_SIZE] = {};

    HttpAnswer m_answer;
    std::size_t m_headerBytes = 0;
    bool m_headIsWhole = false;
    bool m_ended = false;
    CurlFault m_fault; ///< once it has ended

    // Where the body goes: into the reader's memory, the rest aside.
    std::uint8_t* m_to = nullptr;
    std::size_t m_room = 0;
    std::size_t m_filled = 0;
    std::vector<std::uint8_t> m_rest;
    std::size_t m_restTaken = 0;
    bool m_paused = false;
};

}} // namespace avr::host
