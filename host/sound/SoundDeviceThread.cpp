#include "platform/SoundDeviceThread.h"

#include "SoundDevice.h"

namespace Avr { namespace Player {

soundDeviceThread* soundDeviceThread::getInstance() { return &avr::host::SoundDevice::instance(); }

}} // namespace Avr::Player
