#ifndef TAVLIB_THREAD_RECORDS_H
#define TAVLIB_THREAD_RECORDS_H

#include "api/process_state.h"

/// The records of the threads. A slot forgets its values when it is destroyed, so this list keeps the records
/// of threads that outlive the library. Any thread may use it.
namespace tavlib {

/// Creates a record of the calling thread with the last error `last_error`; null when memory runs out.
TAVThreadRecord* new_thread_record(std::uint32_t last_error);

/// The slot's destructor function: frees the record of the calling thread, which ends. A record that was
/// already freed is left alone, since a thread may end while another one exits the library, and so is another
/// thread's record.
void free_thread_record(void* record);

/// Frees every thread's record. The slot must already be destroyed, so that no record is found through it.
void free_thread_records();

}  // namespace tavlib

#endif
