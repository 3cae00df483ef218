#pragma once

#include "NetworkStream.h"

namespace avr { namespace host {

class IcyTitles;

/// A file or radio stream over http or https. It can be positioned where the server gives parts of
/// files, and there a connection that breaks is made again where it was.
class AVR_API HttpStream final : public NetworkStream {
public:
    explicit HttpStream(std::string url, NetworkLimits const& limits = {});
    ~HttpStream() override;

    int GetCapabilities() override;
    int SeekByte(long long offset) override;
    int GetStreamProperty(int key, std::string& value) override;
    std::optional<std::string> newTitle() override;
    void taken(long long position) override;

protected:
    bool connect() override;
    HttpResult readSome(void* to, std::size_t room, std::size_t& got) override;

private:
    static constexpr long long Unknown = -1;

    void learn(HttpAnswer const& answer);
    void movedTo(long long position);
    long long length() const;
    struct Part {
        Transfer transfer;      ///< null: it is not given
        HttpFault fault;        ///< why
        bool isRefused = false; ///< another try would be, too
    };
    Part beginAt(long long position);
    HttpResult resume(bool isWhole);
    void noteTitle(long long position, std::string const& text);

    std::unique_ptr<IcyTitles> m_icy; ///< where titles come; with the use of the stream
    long long m_position = 0;         ///< of the next byte; with the use of the stream
    unsigned int m_attempts = 0;      ///< to connect again, since the last byte; so
    bool m_isAtEnd = false;           ///< a seek went there; with the use of the stream
    bool m_isLost = false;            ///< the connection could not be made again; so
    std::string m_validator;          ///< what tells whether the file is still the same; so

    mutable std::mutex m_knownLock; ///< guards what follows; taken alone
    long long m_length = Unknown;
    bool m_givesParts = false;
    struct Title {
        long long position;
        std::string text;
    };
    std::vector<Title> m_titles; ///< that are not told yet, in their order
    long long m_taken = 0;       ///< what the decoder has got
};

}} // namespace avr::host
