#include "FakeSoundDevice.h"

namespace avr { namespace test {

FakeSoundDevice& FakeSoundDevice::instance()
{
    static FakeSoundDevice device;
    return device;
}

}} // namespace avr::test

Avr::Player::soundDeviceThread* Avr::Player::soundDeviceThread::getInstance()
{
    return &avr::test::FakeSoundDevice::instance();
}
