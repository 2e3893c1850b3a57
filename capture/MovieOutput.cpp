#include "capture/MovieOutput.h"

#include <atomic>

namespace orvella::capture {

namespace {

// Set once at start-up by the programs that record, read by every capture path.
std::atomic<MovieOutputMaker> installedMaker{nullptr};

}  // namespace

void setMovieOutputMaker(MovieOutputMaker maker) {
    installedMaker.store(maker, std::memory_order_release);
}

std::shared_ptr<MovieOutput> makeMovieOutput() {
    const MovieOutputMaker maker = installedMaker.load(std::memory_order_acquire);
    return maker ? maker() : nullptr;
}

bool recordsMovies() {
    return installedMaker.load(std::memory_order_acquire) != nullptr;
}

}  // namespace orvella::capture
