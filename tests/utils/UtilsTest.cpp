#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "ZnUtilsLib/LockScope.h"
#include "ZnUtilsLib/Result.h"
#include "ZnUtilsLib/String.h"
#include "ZnUtilsLib/Thread.h"

using namespace ZnUtilsLib;

TEST(Result, DefaultIsSuccessWithNullDetailAndCopiesKeepTheCode) {
    const Result ok;
    EXPECT_EQ(ok.GetCode(), 0u);
    EXPECT_EQ(ok.GetDetail(), nullptr);
    Result copy(ok);
    EXPECT_TRUE(copy.IsSuccess());
    Result failed(26);
    copy = failed;
    EXPECT_EQ(copy.GetCode(), 26u);
    EXPECT_TRUE(copy.IsFailure());
    EXPECT_EQ(copy.GetDetail(), nullptr);
}

TEST(Mutex, NestedScopesOnOneThreadDoNotBlockAndReleaseFully) {
    Mutex mutex(0);
    {
        LockScope outer(mutex);
        LockScope inner(&mutex);
    }
    // Another thread can take it once both scopes are gone.
    bool acquired = false;
    std::thread other([&] {
        acquired = mutex.TryLock();
        if (acquired) mutex.Unlock();
    });
    other.join();
    EXPECT_TRUE(acquired);
}

TEST(Mutex, IsHeldAgainstOtherThreadsWhileAScopeLives) {
    Mutex mutex(0);
    LockScope scope(mutex);
    bool acquired = true;
    std::thread other([&] { acquired = mutex.TryLock(); });
    other.join();
    EXPECT_FALSE(acquired);
}

TEST(String, WidensUtf8IncludingCharactersOutsideTheBasicPlane) {
    const String ascii("C:/frames/a.bmp");
    EXPECT_EQ(std::wstring(ascii.GetUnicode()), L"C:/frames/a.bmp");

    const String accented("caf\xC3\xA9");  // "café"
    EXPECT_EQ(std::wstring(accented.GetUnicode()), std::wstring(L"caf\u00E9"));

    const String emoji("\xF0\x9F\x93\xB7");  // U+1F4F7
    const std::wstring wide = emoji.GetUnicode();
    if (sizeof(wchar_t) == 2) {
        ASSERT_EQ(wide.size(), 2u);
        EXPECT_EQ(static_cast<unsigned>(wide[0]), 0xD83Du);
        EXPECT_EQ(static_cast<unsigned>(wide[1]), 0xDCF7u);
    } else {
        ASSERT_EQ(wide.size(), 1u);
        EXPECT_EQ(static_cast<unsigned>(wide[0]), 0x1F4F7u);
    }
}

TEST(String, MalformedBytesBecomeReplacementCharacters) {
    const String broken(
        "a\xFF"
        "b\xC3");
    const std::wstring wide = broken.GetUnicode();
    ASSERT_EQ(wide.size(), 4u);
    EXPECT_EQ(wide[0], L'a');
    EXPECT_EQ(static_cast<unsigned>(wide[1]), 0xFFFDu);
    EXPECT_EQ(wide[2], L'b');
    EXPECT_EQ(static_cast<unsigned>(wide[3]), 0xFFFDu);
    EXPECT_EQ(std::wstring(String(nullptr).GetUnicode()), L"");
}

TEST(Thread, IdsAreStablePerThreadAndDistinctAcrossThreads) {
    const uint32_t mine = Thread::GetCurrentThreadID();
    EXPECT_NE(mine, 0u);
    EXPECT_EQ(mine, Thread::GetCurrentThreadID());
    std::vector<uint32_t> ids(8);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < ids.size(); ++i) {
        threads.emplace_back([&ids, i] { ids[i] = Thread::GetCurrentThreadID(); });
    }
    for (auto& t : threads) t.join();
    std::set<uint32_t> distinct(ids.begin(), ids.end());
    distinct.insert(mine);
    EXPECT_EQ(distinct.size(), ids.size() + 1);
}
