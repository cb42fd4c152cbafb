#ifndef TEST_SUPPORT_SYSTEMSTANDINS_H
#define TEST_SUPPORT_SYSTEMSTANDINS_H

#include <atomic>
#include <ctime>
#include <functional>

// The clock and the file operations that a test program puts in the place of the system's, by
// linking SystemStandIns.cpp. At first they are the system's own.
namespace stand_ins {

// What time() and gettimeofday() tell, in seconds since the epoch; 0 is the real time.
inline std::atomic<time_t> clock{0};

// Called in the place of WyRename while it is set; goes on to RealRename as it likes.
inline std::function<int(const char* pszFrom, const char* pszTo)> rename;
int RealRename(const char* pszFrom, const char* pszTo);
int Refuse(int iErrno);  // sets errno and answers -1

// With which errno the system calls fail; 0 lets them pass.
inline std::atomic<int> renameat2_errno{0};
inline std::atomic<int> link_errno{0};

}  // namespace stand_ins

#endif
