#pragma once

namespace avr { namespace player {

/// The library prints its log on standard output and standard error. This keeps the two for
/// avrplay's own text and gives the library another place, from the first call on.
class StandardOutputs {
public:
    /// Throws std::system_error when there is no place for the log.
    /// @param showLog  the library's log on standard error; else nowhere
    explicit StandardOutputs(bool showLog);
    ~StandardOutputs();
    StandardOutputs(StandardOutputs const&) = delete;
    StandardOutputs& operator=(StandardOutputs const&) = delete;

    int out() const { return m_out; }
    int err() const { return m_err; }
    /// The program was started without a standard output; what goes there is lost.
    bool outWasClosed() const;

    /// To be called before anything is opened: a file must not get the number of a standard
    /// descriptor that the program was started without.
    static void fillGaps();

private:
    int m_out;
    int m_err;
};

}} // namespace avr::player
