// Runs code in a forked process.
#ifndef ORV_TESTS_CHILD_H
#define ORV_TESTS_CHILD_H

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvtest {

// `child` returns true for success. A hang ends by the alarm.
template <class Child>
void ExpectInChild(const Child& child) {
    const pid_t id = fork();
    ASSERT_GE(id, 0);
    if (id == 0) {
        alarm(60);
        _exit(child() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(id, waitpid(id, &status, 0));
    EXPECT_EQ(0, status);
}

}  // namespace orvtest

#endif
