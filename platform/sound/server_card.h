// The sound server's card: the server's sinks and sources as devices. It is a module, since the server's library takes
// longer to load than all the rest.
#ifndef TOLVANE_PLATFORM_SOUND_SERVER_CARD_H
#define TOLVANE_PLATFORM_SOUND_SERVER_CARD_H

#include "platform/sound/card.h"

namespace tolvane::platform {

// What the module "sound-server" offers.
using OfferedServerCard = Card&();

}  // namespace tolvane::platform

#endif
