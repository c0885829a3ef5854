// The sound server's card: the server's sinks and sources as devices.
#ifndef TOLVANE_PLATFORM_SOUND_SERVER_CARD_H
#define TOLVANE_PLATFORM_SOUND_SERVER_CARD_H

#include "platform/sound/card.h"

namespace tolvane::platform {

Card& ServerCard();
bool ServerAnswers();

}  // namespace tolvane::platform

#endif
