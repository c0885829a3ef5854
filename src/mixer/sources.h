// The lines that a recording can come from, and the choice of one.
#pragma once

#include <cstdint>

namespace tolvane {

uint32_t CountRecordSources();
void GetRecordSourceName(uint32_t index, char* name);
uint16_t FindMicrophone(uint32_t* index);
uint16_t FindLineInput(uint32_t* index);
uint16_t SelectRecordSource(uint16_t index);

}  // namespace tolvane
