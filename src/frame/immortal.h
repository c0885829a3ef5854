// The library's state records: made on first use, never destroyed by the run-time.
#pragma once

#include <new>

namespace tolvane {

// The one instance of a state record. Its destructor never runs: at process exit the callback thread may
// still use the record; at unload the entry point releases what it holds.
template <class Record>
Record& Immortal() {
    alignas(Record) static unsigned char memory[sizeof(Record)];
    static Record* const record = new (memory) Record;
    return *record;
}

}  // namespace tolvane
