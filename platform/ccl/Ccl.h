// The analytics client: records events about the use of an application. One thread at a time; it
// starts no thread and holds nothing open, so it may exist before a fork.
//
// Off by default: events are recorded only if the environment variable TESSEL_CCL_FILE names a
// file, as a line of JSON per event appended to that file. Nothing is ever sent over the network.
//
// The names are those of the C interface that callers of such a client expect, as are null handles,
// which every function accepts, and return codes instead of errors.
#pragma once

struct CclClient;
struct CclEventKeys;

enum CclCode : int {
  CclSuccess = 0,
  CclNoClient = -1,     // the client handle is null
  CclBadArgument = -2,  // a text that must be there is empty, a number is not among those taken
  CclNoKeys = -3,       // the handle of the keys is null where keys are needed
  CclDisabled = -4,     // nothing is remembered
  CclNotWritten = -5,   // the file could not be written, or is full
  CclTooLarge = -6,     // a text is too long, or there are too many keys
};

// How a key may be used is up to the reader of the file: both flags are recorded with it.
enum CclKeyFlags : unsigned short { CclKeyRecorded = 1, CclKeyKept = 2 };

// The application and its version, both recorded with every event; at most 256 bytes each. Null if
// the first is empty or one is too long. The caller releases it with ccl_shutdown.
CclClient* ccl_init(const char* application, const char* version);
// Invalidates the handle.
int ccl_shutdown(CclClient* client);
// 1 or 0. CclDisabled for 1 if no file is named: an application cannot enable recording by itself.
int ccl_set_ccl_enabled(CclClient* client, int enabled);
// 1 or 0; CclNoClient without a client.
int ccl_is_ccl_enabled(const CclClient* client);

// The keys of events; the caller deletes them. At most 64 of 256 bytes each, with values of at most
// 4096; adding a key again replaces its value.
CclEventKeys* ccl_event_keys_create();
int ccl_event_keys_add(CclEventKeys* keys, const char* key, const char* value,
                       unsigned short flags);
int ccl_event_keys_delete(CclEventKeys* keys);
// Logs one line per key.
int ccl_event_keys_print(const CclEventKeys* keys);

// The events. The keys may be null.
int ccl_onapplication_start(CclClient* client, const CclEventKeys* keys);
int ccl_onapplication_end(CclClient* client, const CclEventKeys* keys);
int ccl_onapplication_foreground(CclClient* client, const CclEventKeys* keys);
int ccl_onapplication_background(CclClient* client, const CclEventKeys* keys);
int ccl_onapplication_error(CclClient* client, const CclEventKeys* keys);
int ccl_onbutton_click(CclClient* client, const CclEventKeys* keys);
int ccl_oncontent_view(CclClient* client, const CclEventKeys* keys);

// With a text of at most 4096 bytes, such as a search term; null for none.
int ccl_onsearch_event(CclClient* client, const CclEventKeys* keys, const char* text);
int ccl_onactivity_start(CclClient* client, const CclEventKeys* keys, const char* text);
int ccl_onactivity_end(CclClient* client, const CclEventKeys* keys, const char* text);
int ccl_onactivity_pause(CclClient* client, const CclEventKeys* keys, const char* text);
int ccl_onadclick_event(CclClient* client, const CclEventKeys* keys, const char* text);
int ccl_onconversion_event(CclClient* client, const CclEventKeys* keys, const char* text);

// A custom event with a non-empty name.
int ccl_oncustom_event(CclClient* client, const char* name, const CclEventKeys* keys);
