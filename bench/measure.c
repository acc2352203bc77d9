/* measure FILE PROGRAM [WORD...]: runs the program and writes to FILE what it cost: microseconds of
 * processor time, peak memory in KiB, page faults. A process starts with the peak of the one that
 * started it; this one is small. Exits with the program's status. */
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

static long long microseconds(struct timeval time) {
  return time.tv_sec * 1000000LL + time.tv_usec;
}

int main(int argc, char** argv) {
  struct rusage used;
  int status = 0;
  pid_t pid;
  FILE* file;
  if (argc < 3) return 2;
  pid = fork();
  if (pid < 0) return 2;
  if (pid == 0) {
    execv(argv[2], argv + 2);
    _exit(127);
  }
  if (wait4(pid, &status, 0, &used) != pid) return 2;
  file = fopen(argv[1], "w");
  if (file == NULL) return 2;
  fprintf(file, "%lld %ld %ld\n", microseconds(used.ru_utime) + microseconds(used.ru_stime),
          used.ru_maxrss, used.ru_minflt);
  if (fclose(file) != 0) return 2;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
