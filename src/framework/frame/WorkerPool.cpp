#include "framework/frame/WorkerPool.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace ZnConvertersLib {
namespace FrameDetail {
namespace {

// One RunOnWorkers call: its tasks are claimed one index at a time by whichever thread
// gets there first, so a slow or busy worker never holds a band back.
struct Job {
    const std::function<void(uint32_t)>* task;
    uint32_t count;
    std::atomic<uint32_t> next{0};
    // Guarded by the pool's mutex: tasks finished, and workers inside Work (the job must
    // outlive them).
    uint32_t finished = 0;
    uint32_t visitors = 0;
    std::condition_variable done;

    // Runs tasks until none is left; returns how many this thread ran.
    uint32_t Work() {
        uint32_t ran = 0;
        for (uint32_t i = next.fetch_add(1); i < count; i = next.fetch_add(1), ++ran) {
            (*task)(i);
        }
        return ran;
    }
};

class WorkerPool {
public:
    ~WorkerPool() {
        {
            std::lock_guard<std::mutex> lock(mMutex);
            mStopping = true;
        }
        mWake.notify_all();
        for (std::thread& thread : mThreads) thread.join();
    }

    void Run(uint32_t count, const std::function<void(uint32_t)>& task) {
        Job job;
        job.task = &task;
        job.count = count;
        {
            std::lock_guard<std::mutex> lock(mMutex);
            GrowTo(count - 1);
            mJobs.push_back(&job);
        }
        mWake.notify_all();
        const uint32_t ran = job.Work();
        std::unique_lock<std::mutex> lock(mMutex);
        job.finished += ran;
        // The job leaves the queue before this call returns: no worker can find it after.
        Remove(&job);
        job.done.wait(lock, [&] { return job.finished == job.count && job.visitors == 0; });
    }

private:
    void GrowTo(uint32_t workers) {
        while (mThreads.size() < workers) {
            try {
                mThreads.emplace_back([this] { Serve(); });
            } catch (const std::system_error&) {
                return;  // fewer workers: the calling thread does the rest
            }
        }
    }

    void Remove(Job* job) {
        for (auto it = mJobs.begin(); it != mJobs.end(); ++it) {
            if (*it == job) {
                mJobs.erase(it);
                return;
            }
        }
    }

    void Serve() {
        std::unique_lock<std::mutex> lock(mMutex);
        for (;;) {
            mWake.wait(lock, [&] { return mStopping || !mJobs.empty(); });
            if (mStopping) return;
            Job* job = mJobs.front();
            if (job->next.load() >= job->count) {
                // Every task is claimed: the job waits only for their end, and the jobs
                // behind it may still need hands.
                mJobs.pop_front();
                continue;
            }
            ++job->visitors;
            lock.unlock();
            const uint32_t ran = job->Work();
            lock.lock();
            job->finished += ran;
            --job->visitors;
            if (job->finished == job->count && job->visitors == 0) job->done.notify_all();
        }
    }

    std::mutex mMutex;
    std::condition_variable mWake;
    std::deque<Job*> mJobs;
    std::vector<std::thread> mThreads;
    bool mStopping = false;
};

WorkerPool& Pool() {
    static WorkerPool pool;
    return pool;
}

}  // namespace

void RunOnWorkers(uint32_t count, const std::function<void(uint32_t)>& task) {
    if (count == 0) return;
    if (count == 1) {
        task(0);
        return;
    }
    Pool().Run(count, task);
}

}  // namespace FrameDetail
}  // namespace ZnConvertersLib
