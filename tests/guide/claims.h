/* What the guide says of a wave file, measured without the library; a claim that is not so ends the program. */
#ifndef TOLVANE_GUIDE_CLAIMS_H
#define TOLVANE_GUIDE_CLAIMS_H

void ClaimLength(const char* path, double least_ms, double most_ms);
void ClaimPeak(const char* path, double percent); /* of 16-bit samples, to half a percent */

#endif
