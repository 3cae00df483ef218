#pragma once

#include "BelowBuffer.h"
#include "HttpModule.h"
#include "NetworkLimits.h"
#include "decoder/Result.h"
#include "platform/IReadableStream.h"

#include <condition_variable>
#include <mutex>
#include <optional>

namespace avr { namespace host {

/// What the streams that come over HTTP have in common: one transfer at a time, which a Close ends
/// from any thread, and what a player likes to know of it. SeekByte may come while another thread
/// reads: that Read returns -10103.
class AVR_API NetworkStream : public Avr::Interface::IReadableStream, public BelowBuffer {
public:
    enum class Phase { Closed, Connecting, Open, Reconnecting };
    struct Status {
        Phase phase = Phase::Closed;
        unsigned int attempt = 0;            ///< at reconnecting, from 1
        std::chrono::milliseconds silent{0}; ///< so long the Read in progress has waited
    };

    NetworkStream(std::string address, NetworkLimits const& limits);
    ~NetworkStream() override;

    int IsOpened() override;
    int Open() override;
    void Close() override;
    int Read(void* buf, unsigned int len, unsigned int* got) override;
    int GetCapabilities() override { return 0; }
    int SeekByte(long long) override { return kiv::appli::ErrorNotSupported; }
    int SeekTime(double) override { return kiv::appli::ErrorNotSupported; }
    int GetStreamProperty(int key, std::string& value) override;
    int GetErrorStatus() override;

    // For the player. Any thread.

    Status status() const;
    /// Why the stream failed, one line; empty when it did not.
    std::string errorText() const;
    /// The type that the server told, in lower case, without parameters.
    std::string contentType() const;
    /// Where redirects have led; what a play list names is relative to that.
    std::string finalAddress() const;
    /// The next title of what was decoded since the last one; the last is that of what is now.
    virtual std::optional<std::string> newTitle() { return {}; }

    /// Transfers that ended while the system still looked for their host are given up in the
    /// background. Waits until none is left; for those who look for leaks.
    static void waitForAbandoned();

    // BelowBuffer
    void interruptRead() override;
    void taken(long long) override {}

protected:
    using Transfer = std::shared_ptr<HttpTransfer>;
    using Use = std::unique_lock<std::mutex>;

    /// Connects, and installs what is to be read. @return false with fail called, or closed
    virtual bool connect() = 0;
    virtual HttpResult readSome(void* to, std::size_t room, std::size_t& got) = 0;

    // With the use of the stream, which Open and Read have.

    /// Ends a Read in progress and waits for the use of the stream.
    Use useInsteadOfReading();
    /// Makes a transfer and waits for the head of its answer.
    /// @return null with `fault` when there is none, or when a Close or an interruption came
    Transfer begin(std::string const& url, std::vector<std::string> headers, HttpAnswer& answer,
                   HttpFault& fault);
    /// What is read from now on. @return false when a Close has come
    bool install(Transfer transfer);
    /// Takes out what is read. @return null when a Close has come
    Transfer release();
    /// Reads the transfer that is installed.
    HttpResult receive(void* to, std::size_t room, std::size_t& got);
    HttpFault receivingFault() const;
    /// In front of each attempt to connect again, from 1.
    /// @return false when a Close or an interruption came
    bool pauseBefore(unsigned int attempt);
    /// What is read now is sound again, whatever has failed before.
    void isReconnected();

    bool isClosed() const;
    bool wasInterrupted() const;
    void fail(HttpFault const& fault);
    void tell(std::string const& contentType, std::string const& finalAddress);
    std::string const& address() const { return m_address; }
    NetworkLimits const& limits() const { return m_limits; }

private:
    bool isClosedLocked() const { return m_closes != m_closesBefore; }

    std::string const m_address;
    NetworkLimits const m_limits;
    std::mutex m_use;               ///< held while the stream is opened, read or positioned
    mutable std::mutex m_lock;      ///< guards what follows; after m_use; never held while waiting
    std::condition_variable m_wake; ///< Close, an interruption
    bool m_isOpen = false;
    unsigned int m_closes = 0;
    unsigned int m_closesBefore = 0; ///< the last opening
    Transfer m_transfer;             ///< what is read
    Transfer m_pending;              ///< what waits for its answer
    bool m_isReading = false;
    bool m_interrupted = false; ///< the Read in progress, or else the next one
    unsigned int m_seeksWaiting = 0;
    HttpFault m_fault;
    std::string m_contentType;
    std::string m_finalAddress;
    Phase m_phase = Phase::Closed;
    unsigned int m_attempt = 0;
    std::optional<std::chrono::steady_clock::time_point> m_waitsSince; ///< for a byte
};

}} // namespace avr::host
