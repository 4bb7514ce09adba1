/* Whole-file writes that survive a crash or a kill at any moment: the new
 * content goes to "<path>.tmp" in the same folder, is flushed to disk, is
 * renamed over <path>, and the folder is flushed so that the rename itself
 * is on disk. A reader sees the old file or the new one, never a part.
 *
 * Writers of one file take turns on a lock held on the temporary file; a
 * temporary left behind by a writer that was killed is taken over (emptied
 * and reused) by the next write, so none stays for long.
 *
 * Plain C: the simulated host's PAM module, loaded into other programs, uses
 * the same routine as the console and merel-sim. */
#ifndef MEREL_DURABLE_FILE_H
#define MEREL_DURABLE_FILE_H

#include <stddef.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Replaces `path` with `size` bytes of `data`, the file's mode `mode`.
 * 0 on success; -1 with errno set on failure, `path` then unchanged. */
int merel_write_file(const char* path, const void* data, size_t size, mode_t mode);

/* Flushes the folder that holds `path` (after a rename or an unlink in it).
 * 0 on success, -1 with errno set. */
int merel_sync_parent(const char* path);

#ifdef __cplusplus
}

#include <string>

namespace Platform {

// The same, with one line naming the file and the problem in `error`.
bool WriteFileDurably(const std::string& path,
                      const std::string& content,
                      mode_t mode,
                      std::string& error);

}  // namespace Platform
#endif

#endif
