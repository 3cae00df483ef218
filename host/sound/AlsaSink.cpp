#include "Sinks.h"

#include <alsa/asoundlib.h>

#include <chrono>
#include <memory>

namespace avr { namespace host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned BufferMicroseconds = 200000;
constexpr unsigned PeriodMicroseconds = 50000;
constexpr int RoomWaitMilliseconds = 20;
/// A device that plays nothing for so long will not play the rest either.
constexpr std::chrono::seconds StuckAfter(1);

struct CloseDevice {
    void operator()(snd_pcm_t* pcm) const { snd_pcm_close(pcm); }
};
using Device = std::unique_ptr<snd_pcm_t, CloseDevice>;

void dropMessage(const char*, int, const char*, int, const char*, ...) {}

/// Never waits: a device in use is an error. The library's own lines on standard error are
/// silenced; ours says it once.
int openDevice(std::string const& name, Device& device)
{
    static const int silenced = snd_lib_error_set_handler(&dropMessage);
    (void)silenced;
    snd_pcm_t* pcm = nullptr;
    const int result = snd_pcm_open(&pcm, name.c_str(), SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
    if (result == 0)
        device.reset(pcm);
    return result;
}

snd_pcm_format_t alsaFormat(std::uint16_t bytesPerSample)
{
    const bool little = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
    switch (bytesPerSample) {
    case 1:
        return SND_PCM_FORMAT_S8;
    case 2:
        return SND_PCM_FORMAT_S16;
    case 3:
        return little ? SND_PCM_FORMAT_S24_3LE : SND_PCM_FORMAT_S24_3BE;
    default:
        return SND_PCM_FORMAT_S32;
    }
}

class AlsaSink final : public ISoundSink {
public:
    explicit AlsaSink(std::string device) : m_name(std::move(device)) {}

    bool open(PcmFormat const& format, std::string& error) override;
    long write(const std::uint8_t* pcm, std::size_t bytes, std::string& error) override;
    void finish() override;
    bool drained() override;
    void pause(bool paused) override;
    void discard() override;
    bool close(std::string& error) override;

private:
    bool setHardware(PcmFormat const& format, std::string& error);
    bool setSoftware(std::string& error);
    bool good(int result, std::string const& what, std::string& error) const;
    int recover(int failure);
    bool stuck(snd_pcm_sframes_t delay);

    const std::string m_name;
    Device m_device;
    PcmFormat m_format;
    bool m_canPause = false;
    snd_pcm_uframes_t m_bufferFrames = 0;
    snd_pcm_sframes_t m_lastDelay = 0; ///< the least one since finish()
    Clock::time_point m_progress;      ///< when it became less
};

/// One line for the user: "hw:0: does not play 6 channels (Invalid argument)".
bool AlsaSink::good(int result, std::string const& what, std::string& error) const
{
    if (result < 0)
        error = m_name + ": " + what + " (" + snd_strerror(result) + ")";
    return result >= 0;
}

bool AlsaSink::open(PcmFormat const& format, std::string& error)
{
    // Between tracks of one format the device keeps playing.
    if (m_device && m_format == format && recover(0) >= 0)
        return true;
    m_device.reset();
    if (!good(openDevice(m_name, m_device), "cannot be opened", error))
        return false;
    m_format = format;
    if (setHardware(format, error) && setSoftware(error))
        return true;
    m_device.reset();
    return false;
}

bool AlsaSink::setHardware(PcmFormat const& format, std::string& error)
{
    snd_pcm_t* const pcm = m_device.get();
    snd_pcm_hw_params_t* hardware = nullptr;
    snd_pcm_hw_params_alloca(&hardware);
    unsigned buffer = BufferMicroseconds;
    unsigned period = PeriodMicroseconds;
    const snd_pcm_format_t samples = alsaFormat(format.bytesPerSample);
    const std::string refused = "does not play ";
    if (!good(snd_pcm_hw_params_any(pcm, hardware), "has no settings", error) ||
        !good(snd_pcm_hw_params_set_access(pcm, hardware, SND_PCM_ACCESS_RW_INTERLEAVED),
              "does not take interleaved samples", error) ||
        !good(snd_pcm_hw_params_set_format(pcm, hardware, samples),
              refused + snd_pcm_format_name(samples), error) ||
        !good(snd_pcm_hw_params_set_channels(pcm, hardware, format.channels),
              refused + std::to_string(format.channels) + " channels", error) ||
        !good(snd_pcm_hw_params_set_rate(pcm, hardware, format.rate, 0),
              refused + std::to_string(format.rate) + " Hz", error) ||
        !good(snd_pcm_hw_params_set_buffer_time_near(pcm, hardware, &buffer, nullptr),
              "has no fitting buffer", error) ||
        !good(snd_pcm_hw_params_set_period_time_near(pcm, hardware, &period, nullptr),
              "has no fitting period", error) ||
        !good(snd_pcm_hw_params(pcm, hardware), "refuses the settings", error))
        return false;
    m_canPause = snd_pcm_hw_params_can_pause(hardware) == 1;
    return good(snd_pcm_hw_params_get_buffer_size(hardware, &m_bufferFrames), "hides its buffer",
                error);
}

bool AlsaSink::setSoftware(std::string& error)
{
    snd_pcm_t* const pcm = m_device.get();
    snd_pcm_sw_params_t* software = nullptr;
    snd_pcm_sw_params_alloca(&software);
    if (!good(snd_pcm_sw_params_current(pcm, software), "hides its settings", error) ||
        !good(snd_pcm_sw_params_set_start_threshold(pcm, software, m_bufferFrames / 2),
              "has no start threshold", error))
        return false;
    // What follows the last frame in the buffer is silence, not what was played before. Where
    // that cannot be had, the settings go without it.
    snd_pcm_uframes_t boundary = 0;
    if (snd_pcm_sw_params_get_boundary(software, &boundary) == 0 &&
        snd_pcm_sw_params_set_silence_threshold(pcm, software, 0) == 0)
        snd_pcm_sw_params_set_silence_size(pcm, software, boundary);
    return good(snd_pcm_sw_params(pcm, software), "refuses the settings", error);
}

long AlsaSink::write(const std::uint8_t* pcm, std::size_t bytes, std::string& error)
{
    const std::size_t frameBytes = m_format.frameBytes();
    for (int attempt = 0; attempt < 2; ++attempt) {
        const snd_pcm_sframes_t taken = snd_pcm_writei(m_device.get(), pcm, bytes / frameBytes);
        if (taken > 0)
            return taken * long(frameBytes);
        const int failure = taken == 0 || taken == -EAGAIN
                                ? snd_pcm_wait(m_device.get(), RoomWaitMilliseconds)
                                : int(taken);
        if (failure < 0 && !good(recover(failure), "stopped playing", error))
            return -1;
    }
    return 0;
}

/// Makes the device take PCM again, after a failure or (0) between two runs. A device that still
/// sleeps is asked again at the next call.
int AlsaSink::recover(int failure)
{
    snd_pcm_t* const pcm = m_device.get();
    const snd_pcm_state_t state = snd_pcm_state(pcm);
    if (state == SND_PCM_STATE_SUSPENDED) {
        const int resumed = snd_pcm_resume(pcm);
        return resumed == 0 || resumed == -EAGAIN ? 0 : snd_pcm_prepare(pcm);
    }
    if (state == SND_PCM_STATE_XRUN || state == SND_PCM_STATE_SETUP || failure == -EPIPE)
        return snd_pcm_prepare(pcm);
    if (state == SND_PCM_STATE_DISCONNECTED)
        return -ENODEV;
    return failure == -EINTR || failure == -ESTRPIPE ? 0 : failure;
}

/// A device that holds less than its start threshold would wait for ever.
void AlsaSink::finish()
{
    if (snd_pcm_state(m_device.get()) == SND_PCM_STATE_PREPARED)
        snd_pcm_start(m_device.get());
    m_lastDelay = snd_pcm_sframes_t(m_bufferFrames) + 1;
    m_progress = Clock::now();
}

bool AlsaSink::drained()
{
    const snd_pcm_state_t state = snd_pcm_state(m_device.get());
    if (state == SND_PCM_STATE_SUSPENDED)
        return recover(-ESTRPIPE) < 0;
    if (state != SND_PCM_STATE_RUNNING && state != SND_PCM_STATE_DRAINING)
        return true;
    snd_pcm_sframes_t delay = 0;
    return snd_pcm_delay(m_device.get(), &delay) < 0 || delay <= 0 || stuck(delay);
}

bool AlsaSink::stuck(snd_pcm_sframes_t delay)
{
    const Clock::time_point now = Clock::now();
    if (delay < m_lastDelay) {
        m_lastDelay = delay;
        m_progress = now;
    }
    return now - m_progress > StuckAfter;
}

/// A device that cannot pause plays out the fifth of a second that it holds; nothing is lost.
void AlsaSink::pause(bool paused)
{
    if (!m_device || !m_canPause)
        return;
    const snd_pcm_state_t wanted = paused ? SND_PCM_STATE_RUNNING : SND_PCM_STATE_PAUSED;
    if (snd_pcm_state(m_device.get()) == wanted)
        snd_pcm_pause(m_device.get(), paused ? 1 : 0);
    m_progress = Clock::now();
}

void AlsaSink::discard()
{
    if (!m_device)
        return;
    snd_pcm_drop(m_device.get());
    snd_pcm_prepare(m_device.get());
}

bool AlsaSink::close(std::string&)
{
    m_device.reset();
    return true;
}

} // namespace

std::unique_ptr<ISoundSink> makeAlsaSink(std::string device)
{
    return std::make_unique<AlsaSink>(std::move(device));
}

bool alsaDeviceUsable(std::string const& device)
{
    Device opened;
    return openDevice(device, opened) == 0;
}

}} // namespace avr::host
