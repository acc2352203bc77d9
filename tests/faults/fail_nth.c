/* Preloaded into a command to make its n-th call of one function fail, once.
 *
 *   FAIL_CALL   the function's name
 *   FAIL_AT     which call, from 1; 0 only counts
 *   FAIL_MODE   "error" (default), "short" (send and recv move one byte) or "eintr"
 *   FAIL_COUNT  a file that gets the number of calls seen and the number of descriptors beyond
 *               standard error that main left open, in decimal, when the process ends
 *
 * Only the command's own calls count: what the C library calls inside itself does not pass here,
 * and what follows main is the runtime's, which then writes the profile of a build with coverage.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <unistd.h>

static const char* call;
static const char* mode;
static long at;
static long seen;
static int left_open;

static void start(void) {
  const char* text;
  if (call != NULL) return;
  call = getenv("FAIL_CALL");
  if (call == NULL) call = "";
  mode = getenv("FAIL_MODE");
  if (mode == NULL) mode = "error";
  text = getenv("FAIL_AT");
  at = text != NULL ? atol(text) : 0;
}

__attribute__((destructor)) static void report(void) {
  const char* path = getenv("FAIL_COUNT");
  char text[64];
  int fd, n;
  if (path == NULL || (fd = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600)) < 0) return;
  n = snprintf(text, sizeof text, "%ld %d\n", seen, left_open);
  if (write(fd, text, (size_t)n) != n) _exit(99);
  close(fd);
}

static int fails(const char* name) {
  start();
  if (strcmp(name, call) != 0) return 0;
  return ++seen == at;
}

static int is_mode(const char* name) {
  return strcmp(mode, name) == 0;
}

/* dlsym itself is one of the functions, so the C library's is found by its version. */
typedef void* (*dlsym_function)(void*, const char*);
static void* real_symbol(void* handle, const char* name) {
  static dlsym_function real;
  if (real == NULL) real = (dlsym_function)dlvsym(RTLD_NEXT, "dlsym", "GLIBC_2.2.5");
  return real(handle, name);
}
#define REAL(name) ((__typeof__(&name))real_symbol(RTLD_NEXT, #name))

typedef int (*main_function)(int, char**, char**);
static main_function command_main;

static int counted_main(int argc, char** argv, char** environment) {
  const int status = command_main(argc, argv, environment);
  int fd;
  call = "";
  for (fd = STDERR_FILENO + 1; fd < 256; ++fd) left_open += fcntl(fd, F_GETFD) >= 0;
  return status;
}

int __libc_start_main(main_function, int, char**, void (*)(void), void (*)(void), void (*)(void),
                      void*);

int __libc_start_main(main_function entry, int argc, char** argv, void (*init)(void),
                      void (*fini)(void), void (*loader_fini)(void), void* stack_end) {
  command_main = entry;
  return REAL(__libc_start_main)(counted_main, argc, argv, init, fini, loader_fini, stack_end);
}

void* dlsym(void* handle, const char* name) {
  if (fails("dlsym")) return NULL;
  return real_symbol(handle, name);
}

int socket(int domain, int type, int protocol) {
  if (fails("socket")) return errno = EMFILE, -1;
  return REAL(socket)(domain, type, protocol);
}

int connect(int fd, const struct sockaddr* address, socklen_t length) {
  if (fails("connect")) return errno = is_mode("eintr") ? EINTR : ECONNREFUSED, -1;
  return REAL(connect)(fd, address, length);
}

int shmget(key_t key, size_t size, int flags) {
  if (fails("shmget")) return errno = ENOSPC, -1;
  return REAL(shmget)(key, size, flags);
}

void* shmat(int id, const void* address, int flags) {
  if (fails("shmat")) return errno = ENOMEM, (void*)-1;
  return REAL(shmat)(id, address, flags);
}

ssize_t send(int fd, const void* bytes, size_t length, int flags) {
  if (fails("send")) {
    if (is_mode("short")) return REAL(send)(fd, bytes, 1, flags);
    return errno = is_mode("eintr") ? EINTR : EPIPE, -1;
  }
  return REAL(send)(fd, bytes, length, flags);
}

ssize_t recv(int fd, void* bytes, size_t length, int flags) {
  if (fails("recv")) {
    if (is_mode("short")) return REAL(recv)(fd, bytes, 1, flags);
    return errno = is_mode("eintr") ? EINTR : ECONNRESET, -1;
  }
  return REAL(recv)(fd, bytes, length, flags);
}

int poll(struct pollfd* fds, nfds_t count, int timeout) {
  if (fails("poll")) {
    if (is_mode("short")) return 0;
    return errno = is_mode("eintr") ? EINTR : ENOMEM, -1;
  }
  return REAL(poll)(fds, count, timeout);
}

ssize_t write(int fd, const void* bytes, size_t length) {
  if (fails("write")) {
    if (is_mode("short")) return REAL(write)(fd, bytes, length > 1 ? 1 : length);
    return errno = is_mode("eintr") ? EINTR : ENOSPC, -1;
  }
  return REAL(write)(fd, bytes, length);
}

ssize_t read(int fd, void* bytes, size_t length) {
  if (fails("read")) {
    if (is_mode("short")) return REAL(read)(fd, bytes, length > 1 ? 1 : length);
    return errno = is_mode("eintr") ? EINTR : EIO, -1;
  }
  return REAL(read)(fd, bytes, length);
}

int open(const char* path, int flags, ...) {
  __builtin_va_list list;
  int permissions;
  __builtin_va_start(list, flags);
  permissions = (flags & O_CREAT) != 0 ? __builtin_va_arg(list, int) : 0;
  __builtin_va_end(list);
  if (fails("open")) return errno = EMFILE, -1;
  return REAL(open)(path, flags, permissions);
}

FILE* fopen(const char* path, const char* how) {
  if (fails("fopen")) return errno = EMFILE, NULL;
  return REAL(fopen)(path, how);
}

char* fgets(char* line, int size, FILE* file) {
  if (fails("fgets")) return NULL;
  return REAL(fgets)(line, size, file);
}

size_t fread(void* bytes, size_t size, size_t count, FILE* file) {
  if (fails("fread")) return 0;
  return REAL(fread)(bytes, size, count, file);
}

size_t fwrite(const void* bytes, size_t size, size_t count, FILE* file) {
  if (fails("fwrite")) return errno = ENOSPC, (size_t)0;
  return REAL(fwrite)(bytes, size, count, file);
}

void* mmap(void* address, size_t length, int protection, int flags, int fd, off_t offset) {
  if (fails("mmap")) return errno = ENOMEM, MAP_FAILED;
  return REAL(mmap)(address, length, protection, flags, fd, offset);
}

void* dlopen(const char* path, int flags) {
  if (fails("dlopen")) return NULL;
  return REAL(dlopen)(path, flags);
}

/* The allocator is called before and inside dlsym, so the C library's own entries are used. */
extern void* __libc_malloc(size_t);
extern void* __libc_calloc(size_t, size_t);
extern void* __libc_realloc(void*, size_t);

void* malloc(size_t size) {
  if (fails("malloc")) return errno = ENOMEM, NULL;
  return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
  if (fails("calloc")) return errno = ENOMEM, NULL;
  return __libc_calloc(count, size);
}

void* realloc(void* old, size_t size) {
  if (fails("realloc")) return errno = ENOMEM, NULL;
  return __libc_realloc(old, size);
}
