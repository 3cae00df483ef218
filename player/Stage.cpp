#include "Stage.h"

#include <poll.h>

namespace avr { namespace player {

void Stage::wait(int milliseconds) const
{
    pollfd sources[2] = {{wakeup.descriptor(), POLLIN, 0}, {keys.descriptor(), POLLIN, 0}};
    if (poll(sources, 2, milliseconds) <= 0)
        return;
    if (sources[0].revents != 0)
        wakeup.clear();
    if (sources[1].revents != 0)
        keys.read();
}

bool Stage::goesOn() const
{
    if (signals.continued()) {
        keys.goOn();
        display.clearStatus(); // the shell may have written there
    }
    return !signals.interrupted();
}

}} // namespace avr::player
