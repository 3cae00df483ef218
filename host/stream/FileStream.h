#pragma once

#include "platform/IReadableStream.h"

#include <memory>
#include <string>

namespace avr { namespace host {

/// A file, device or pipe in the file system. Regular files can be positioned and know their
/// length; pipes cannot and do not.
class AVR_API FileStream final : public Avr::Interface::IReadableStream {
public:
    explicit FileStream(std::string path);
    ~FileStream() override;
    FileStream(FileStream const&) = delete;
    FileStream& operator=(FileStream const&) = delete;

    int IsOpened() override;
    int Open() override;
    void Close() override;
    int Read(void* buf, unsigned int len, unsigned int* got) override;
    int GetCapabilities() override;
    int SeekByte(long long offset) override;
    int SeekTime(double seconds) override;
    int GetStreamProperty(int key, std::string& value) override;
    /// The errno of the operation that failed, or 0.
    int GetErrorStatus() override;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}} // namespace avr::host
