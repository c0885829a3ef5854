// The volume that a mute took away, kept between runs of the program: the library keeps it only while it is loaded.
#ifndef TOLVANE_HOST_KEPT_VOLUME_H
#define TOLVANE_HOST_KEPT_VOLUME_H

namespace tolvane::host {

// In percent. False where it cannot be written.
bool KeepVolume(unsigned percent);

// 0: none was kept.
unsigned KeptVolume();

}  // namespace tolvane::host

#endif
