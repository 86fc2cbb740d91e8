#pragma once

#include <atomic>

// Lets another thread watch a long operation and end it early.
class ProgressMonitor {
public:
    // Set by the operation: 0 to 100.
    std::atomic<int> m_percentDone{0};
    // Set by the watcher: the operation fails at its next step.
    std::atomic<bool> m_abort{false};
};
