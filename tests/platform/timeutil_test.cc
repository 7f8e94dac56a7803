// timeutil_test.cc --
//
//    The host's Windows time zone, with the zone given through TZ to a
//    child process (the parent's zone stays as it was).

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <trplatform/timeutil.h>

namespace {

// "index|name" (name "-" when none) as a child process sees it with TZ set
// to tz, or unset for nullptr.
std::string WindowsZoneWithTz(const char *tz) {
   int fds[2];
   if (pipe(fds) != 0) {
      return "pipe failed";
   }
   pid_t pid = fork();
   if (pid == 0) {
      close(fds[0]);
      if (tz != nullptr) {
         setenv("TZ", tz, 1);
      } else {
         unsetenv("TZ");
      }
      char *name = nullptr;
      int32_t index = TimeUtil_GetLocalWindowsTimeZoneIndexAndName(&name);
      std::string out = std::to_string(index) + "|" + (name != nullptr ? name : "-");
      std::free(name);
      ssize_t written = write(fds[1], out.data(), out.size());
      _exit(written == static_cast<ssize_t>(out.size()) ? 0 : 1);
   }
   close(fds[1]);
   std::string out;
   char buf[256];
   ssize_t n;
   while ((n = read(fds[0], buf, sizeof buf)) > 0) {
      out.append(buf, static_cast<size_t>(n));
   }
   close(fds[0]);
   int status = 0;
   waitpid(pid, &status, 0);
   return out;
}

TEST(TimeUtil, ZoneFromTzToWindowsIndexAndName) {
   const struct {
      const char *tz;
      const char *expected;
   } cases[] = {
      {"America/Los_Angeles", "4|Pacific Standard Time"},
      {"America/New_York", "35|Eastern Standard Time"},
      {"Europe/London", "85|GMT Standard Time"},
      {"Europe/Berlin", "110|W. Europe Standard Time"},
      {"Asia/Kolkata", "190|India Standard Time"},
      {"Asia/Calcutta", "190|India Standard Time"},
      {"Asia/Tokyo", "235|Tokyo Standard Time"},
      {"Australia/Sydney", "255|AUS Eastern Standard Time"},
      {":Europe/Berlin", "110|W. Europe Standard Time"},
      {":/usr/share/zoneinfo/Asia/Tokyo", "235|Tokyo Standard Time"},
      {"/usr/share/zoneinfo/right/Asia/Tokyo", "235|Tokyo Standard Time"},
      {"Etc/UTC", "-1|UTC"},                // mapped, but without an index
      {"Nowhere/Atlantis", "-1|-"},         // not mapped
      {"Europe/\xc3\xa4", "-1|-"},
   };
   for (const auto &c : cases) {
      EXPECT_EQ(WindowsZoneWithTz(c.tz), c.expected) << c.tz;
   }
   // An empty TZ is no zone: the host's own zone is used as with no TZ.
   EXPECT_EQ(WindowsZoneWithTz(""), WindowsZoneWithTz(nullptr));
}

}  // namespace
