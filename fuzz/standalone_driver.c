/*
 * standalone_driver.c --
 *
 *    Replays fuzz inputs without libFuzzer: every file named on the command
 *    line, or found (recursively) in a directory named there, is read whole
 *    and passed once to LLVMFuzzerTestOneInput. Exits non-zero when an input
 *    cannot be read; a crash or sanitizer report fails the run by itself.
 */

#include <dirent.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

static int RunFile(const char *path) {
   FILE *f = fopen(path, "rb");
   if (f == NULL) {
      fprintf(stderr, "cannot open %s\n", path);
      return 1;
   }
   size_t cap = 4096, len = 0;
   uint8_t *buf = malloc(cap);
   if (buf == NULL) {
      fclose(f);
      return 1;
   }
   size_t n;
   while ((n = fread(buf + len, 1, cap - len, f)) > 0) {
      len += n;
      if (len == cap) {
         uint8_t *bigger = realloc(buf, cap * 2);
         if (bigger == NULL) {
            free(buf);
            fclose(f);
            return 1;
         }
         buf = bigger;
         cap *= 2;
      }
   }
   int failed = ferror(f);
   fclose(f);
   if (!failed) {
      LLVMFuzzerTestOneInput(buf, len);
   }
   free(buf);
   return failed ? 1 : 0;
}

static int RunPath(const char *path, unsigned *count) {
   struct stat st;
   if (stat(path, &st) != 0) {
      fprintf(stderr, "cannot stat %s\n", path);
      return 1;
   }
   if (!S_ISDIR(st.st_mode)) {
      (*count)++;
      return RunFile(path);
   }
   DIR *d = opendir(path);
   if (d == NULL) {
      fprintf(stderr, "cannot open directory %s\n", path);
      return 1;
   }
   int rc = 0;
   struct dirent *e;
   while ((e = readdir(d)) != NULL) {
      if (e->d_name[0] == '.') {
         continue;
      }
      size_t len = strlen(path) + strlen(e->d_name) + 2;
      char *child = malloc(len);
      if (child == NULL) {
         rc = 1;
         break;
      }
      snprintf(child, len, "%s/%s", path, e->d_name);
      rc |= RunPath(child, count);
      free(child);
   }
   closedir(d);
   return rc;
}

int main(int argc, char **argv) {
   unsigned count = 0;
   int rc = 0;
   for (int i = 1; i < argc; i++) {
      rc |= RunPath(argv[i], &count);
   }
   fprintf(stderr, "replayed %u inputs\n", count);
   return rc;
}
