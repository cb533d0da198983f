#ifndef TAVLIB_THREAD_RECORDS_H
#define TAVLIB_THREAD_RECORDS_H

#include "api/process_state.h"

/// The records that threads have now. A slot forgets them when it is destroyed, so a list is kept for those
/// of threads that outlive the library. Any thread.
namespace tavlib {

/// A record of the calling thread whose last error is `last_error`; null when memory runs out.
TAVThreadRecord* new_thread_record(std::uint32_t last_error);

/// The slot's destructor: frees the record of the calling thread, which ends. One that is freed already is
/// left alone, since a thread may end while another one exits the library, and so is another thread's.
void free_thread_record(void* record);

/// Frees every thread's record. The slot must be gone, so that none is found any more.
void free_thread_records();

}  // namespace tavlib

#endif
