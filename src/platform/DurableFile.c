#include "DurableFile.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

static int WriteAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    ssize_t n = write(fd, data, size);
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0) {
      if (n == 0)
        errno = EIO;
      return -1;
    }
    data += n;
    size -= (size_t)n;
  }
  return 0;
}

/* Opens and locks the temporary. Another writer may have renamed the file
 * we waited on into place meanwhile: then the name holds a different file
 * (or none) and we start again on whatever the name holds now. */
static int OpenTemporary(const char* temporary, mode_t mode) {
  for (;;) {
    int fd = open(temporary, O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, mode);
    if (fd < 0)
      return -1;
    int rc;
    do {
      rc = flock(fd, LOCK_EX);
    } while (rc != 0 && errno == EINTR);
    struct stat held, named;
    if (rc == 0 && fstat(fd, &held) == 0 && stat(temporary, &named) == 0 &&
        held.st_dev == named.st_dev && held.st_ino == named.st_ino) {
      return fd;
    }
    int saved = errno;
    close(fd);
    if (rc != 0) {
      errno = saved;
      return -1;
    }
  }
}

int merel_sync_parent(const char* path) {
  char folder[PATH_MAX];
  const char* slash = strrchr(path, '/');
  if (slash == NULL) {
    strcpy(folder, ".");
  } else if (slash == path) {
    strcpy(folder, "/");
  } else {
    size_t length = (size_t)(slash - path);
    if (length >= sizeof folder) {
      errno = ENAMETOOLONG;
      return -1;
    }
    memcpy(folder, path, length);
    folder[length] = '\0';
  }
  int fd = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0)
    return -1;
  int rc = fsync(fd);
  int saved = errno;
  close(fd);
  errno = saved;
  return rc;
}

int merel_write_file(const char* path, const void* data, size_t size, mode_t mode) {
  char temporary[PATH_MAX];
  if (strlen(path) + 5 > sizeof temporary) {
    errno = ENAMETOOLONG;
    return -1;
  }
  strcpy(temporary, path);
  strcat(temporary, ".tmp");
  int fd = OpenTemporary(temporary, mode);
  if (fd < 0)
    return -1;
  /* Whatever a killed writer left in it goes first. */
  if (ftruncate(fd, 0) != 0 || WriteAll(fd, (const char*)data, size) != 0 ||
      fchmod(fd, mode) != 0 || fsync(fd) != 0) {
    int saved = errno;
    unlink(temporary);
    close(fd);
    errno = saved;
    return -1;
  }
  /* Renamed with the lock still held, so the next writer waiting on this
   * file notices that the name has moved on. */
  if (rename(temporary, path) != 0) {
    int saved = errno;
    unlink(temporary);
    close(fd);
    errno = saved;
    return -1;
  }
  close(fd);
  return merel_sync_parent(path);
}
