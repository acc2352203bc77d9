/* A dictionary library for tests: what the appliance's own exports, with counts and a log that the
 * environment sets.
 *
 *   FAKE_DICT_APPS    number of application entries that it says it has (default 2)
 *   FAKE_DICT_GROUPS  number of group entries (default 1)
 *   FAKE_DICT_WITHOUT slots of the function table that are empty, for example "0,42" (default none)
 *   FAKE_DICT_FAULT   "<when> <what>": during "load", "init" or "unload" it touches a page that is
 *                     not there ("page"), an address that the processor does not know ("address")
 *                     or a file that is gone ("file"), uses up the stack ("stack"), is sent SIGTERM
 *                     ("term") or never comes back ("wait")
 *   FAKE_DICT_LOG     file to which it appends "init", "register <id> <bytes 48..55 as a number>"
 *                     and, when it is unloaded, "unload"
 *
 * An entry is 56 bytes: its id in bytes 0..1, its name from byte 4, its display name from byte 24.
 * Ids that nobody registered are called "none" and "no name".
 */
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

enum { kEntryBytes = 56, kEntries = 1024, kRegistered = 2048, kSlots = 64 };

static const char* registered[kRegistered];
static int registered_count;

static int count_from(const char* name, int otherwise) {
  const char* text = getenv(name);
  return text != NULL ? atoi(text) : otherwise;
}

static void note(const char* line) {
  const char* path = getenv("FAKE_DICT_LOG");
  FILE* file = path != NULL ? fopen(path, "a") : NULL;
  if (file == NULL) return;
  fprintf(file, "%s\n", line);
  fclose(file);
}

static int use_stack(volatile char* above) {
  volatile char room[256];
  room[0] = above[0];
  return above[0] == 1 ? 0 : use_stack(room) + room[0];
}

static void touch(uintptr_t address) {
  registered_count += *(volatile const char*)address;
}

/* A page of a file without bytes: SIGBUS. */
static void touch_lost_file(void) {
  char path[] = "/tmp/fake_dict_XXXXXX";
  const int fd = mkstemp(path);
  volatile char* page = mmap(NULL, 4096, PROT_READ, MAP_SHARED, fd, 0);
  unlink(path);
  if (page[0] == 1) note("never");
}

static void fault(const char* when) {
  const char* text = getenv("FAKE_DICT_FAULT");
  const size_t length = strlen(when);
  if (text == NULL || strncmp(text, when, length) != 0 || text[length] != ' ') return;
  text += length + 1;
  if (strcmp(text, "page") == 0) touch(64);
  if (strcmp(text, "address") == 0) touch((uintptr_t)1 << 62);
  if (strcmp(text, "file") == 0) touch_lost_file();
  if (strcmp(text, "stack") == 0) use_stack("");
  if (strcmp(text, "term") == 0) raise(SIGTERM);
  while (strcmp(text, "wait") == 0) pause();
}

static unsigned id_of_entry(const char* entry) {
  uint16_t id;
  memcpy(&id, entry, sizeof id);
  return id;
}

/* The last registration counts. */
static const char* find(unsigned id) {
  for (int i = registered_count; i-- > 0;) {
    if (id_of_entry(registered[i]) == id) return registered[i];
  }
  return NULL;
}

static void initialise(void) {
  note("init");
  fault("init");
}

static const char* name_of(int id) {
  const char* entry = find((unsigned)id);
  return entry != NULL ? entry + 4 : "none";
}

static const char* display_name_of(int id) {
  const char* entry = find((unsigned)id);
  return entry != NULL ? entry + 24 : "no name";
}

static const uint16_t* id_of_name(const char* name) {
  for (int i = registered_count; i-- > 0;) {
    if (strncmp(registered[i] + 4, name, 20) == 0) {
      return (const uint16_t*)(const void*)registered[i];
    }
  }
  return NULL;
}

static const char* record_of(int id) {
  return find((unsigned)id);
}

static int app_count(void) {
  return count_from("FAKE_DICT_APPS", 2);
}

static int group_count(void) {
  return count_from("FAKE_DICT_GROUPS", 1);
}

static void take_entry(void* entry) {
  uint64_t word;
  char line[64];
  memcpy(&word, (const char*)entry + 48, sizeof word);
  snprintf(line, sizeof line, "register %u %llu", id_of_entry(entry), (unsigned long long)word);
  note(line);
  if (registered_count < kRegistered) registered[registered_count++] = entry;
}

__attribute__((destructor)) static void unloaded(void) {
  note("unload");
  fault("unload");
}

typedef void (*Function)(void);

static Function functions[kSlots] = {
    [0] = initialise,
    [5] = (Function)name_of,
    [6] = (Function)display_name_of,
    [8] = (Function)id_of_name,
    [10] = (Function)record_of,
    [40] = (Function)app_count,
    [41] = (Function)group_count,
    [42] = (Function)take_entry,
};

__attribute__((constructor)) static void prepare(void) {
  const char* text = getenv("FAKE_DICT_WITHOUT");
  fault("load");
  while (text != NULL && *text != '\0') {
    char* end;
    const unsigned long slot = strtoul(text, &end, 10);
    if (end == text || slot >= kSlots) abort();
    functions[slot] = NULL;
    text = *end == ',' ? end + 1 : end;
  }
}

#ifndef FAKE_DICT_NO_FUNCTIONS
extern Function* _axpdict;
Function* _axpdict = functions;
#else
Function* unused_functions = functions;
#endif
#ifndef FAKE_DICT_NO_APPS
extern char _usraxps[kEntries * kEntryBytes];
_Alignas(8) char _usraxps[kEntries * kEntryBytes];
#endif
#ifndef FAKE_DICT_NO_GROUPS
extern char _usragps[kEntries * kEntryBytes];
_Alignas(8) char _usragps[kEntries * kEntryBytes];
#endif
