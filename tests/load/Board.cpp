#include "load/Board.h"

#include "utils/UniqueFd.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <numeric>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace load {

namespace {

constexpr unsigned STEP_BITS = 4;
constexpr int64_t STEPS = 1 << STEP_BITS;

std::size_t BucketOf(int64_t time) {
    const auto value = static_cast<uint64_t>(std::max<int64_t>(time, 1));
    if (value < static_cast<uint64_t>(STEPS)) {
        return static_cast<std::size_t>(value);
    }
    const unsigned exponent = 63U - static_cast<unsigned>(__builtin_clzll(value));
    const uint64_t step = (value >> (exponent - STEP_BITS)) & (STEPS - 1);
    return static_cast<std::size_t>((exponent - STEP_BITS + 1) * STEPS + step);
}

// The largest time of a bucket.
int64_t TimeOf(std::size_t bucket) {
    const auto steps = static_cast<std::size_t>(STEPS);
    if (bucket < steps) {
        return static_cast<int64_t>(bucket);
    }
    const auto shift = static_cast<unsigned>(bucket / steps - 1);
    return ((STEPS + static_cast<int64_t>(bucket % steps) + 1) << shift) - 1;
}

} // namespace

void THistogram::Add(int64_t time) {
    ++buckets[BucketOf(time)];
}

THistogram::TCounts THistogram::Counts() const {
    TCounts counts{};
    std::copy(buckets.begin(), buckets.end(), counts.begin());
    return counts;
}

uint64_t THistogram::Sum(const TCounts& counts) {
    return std::accumulate(counts.begin(), counts.end(), uint64_t{0});
}

int64_t THistogram::Percentile(const TCounts& counts, double part) {
    const auto wanted = static_cast<uint64_t>(part * static_cast<double>(Sum(counts)));
    uint64_t seen = 0;
    for (std::size_t bucket = 0; bucket < counts.size(); ++bucket) {
        seen += counts[bucket];
        if (counts[bucket] > 0 && seen >= wanted) {
            return TimeOf(bucket);
        }
    }
    return 0;
}

THistogram::TCounts THistogram::Difference(const TCounts& later, const TCounts& earlier) {
    TCounts counts{};
    std::transform(later.begin(), later.end(), earlier.begin(), counts.begin(), std::minus<>());
    return counts;
}

void TBoard::Fault(const std::string& text) {
    if (faultCount++ == 0) {
        (void)text.copy(fault, sizeof(fault) - 1); // the rest is zero
    }
}

std::string TBoard::FirstFault() const {
    return {fault, ::strnlen(fault, sizeof(fault))};
}

TSharedBoard TSharedBoard::Create(const std::string& path) {
    return Map(path, O_RDWR | O_CREAT | O_EXCL);
}

TSharedBoard TSharedBoard::Open(const std::string& path) {
    return Map(path, O_RDWR);
}

TSharedBoard TSharedBoard::Map(const std::string& path, int flags) {
    const zelto::TUniqueFd file(open(path.c_str(), flags | O_CLOEXEC, 0600));
    if (!file || ftruncate(file.Get(), sizeof(TBoard)) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    void* const mapped = mmap(nullptr, sizeof(TBoard), PROT_READ | PROT_WRITE, MAP_SHARED, file.Get(), 0);
    if (mapped == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    return TSharedBoard(static_cast<TBoard*>(mapped));
}

TSharedBoard::TSharedBoard(TSharedBoard&& other) noexcept : board(std::exchange(other.board, nullptr)) {}

TSharedBoard& TSharedBoard::operator=(TSharedBoard&& other) noexcept {
    std::swap(board, other.board);
    return *this;
}

TSharedBoard::~TSharedBoard() {
    if (board != nullptr) {
        (void)munmap(board, sizeof(TBoard)); // our own mapping
    }
}

} // namespace load
