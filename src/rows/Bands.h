// Who runs which rows: the only place that spreads work over threads.
#ifndef ORV_ROWS_BANDS_H
#define ORV_ROWS_BANDS_H

namespace orv {

// Rows per band for `rows` rows and a team of `threads`: a multiple of 4, at least 4; all of them for one thread.
int BandRows(int rows, int threads);

// The most bands of `rows` rows that run at a time at a team size of `threads`, or at the size in force for 0.
int MaxWorkers(int rows, int threads);

// Fixes the band height for tests; 0 returns to the rule. Rounded up to a multiple of 4.
void SetBandRows(int rows);

// For tests, another order in which the bands are handed out for every number above 0; 0 returns to that of their rows.
void SetBandOrder(int order);
// The band, counted from the top, that is handed out as number `turn` of `bands`.
int BandAt(int turn, int bands);

// The team size of the next parallel region, no more than there are bands; 1 in a process forked from threads.
int TeamSize(int bands);

// Sets the team size of coming regions, above 0, and leaves it.
void SetThreads(int threads);

// Team size `threads` for coming regions where that is above 0, the former size again at the end.
class ThreadsScope {
public:
    explicit ThreadsScope(int threads);
    ~ThreadsScope();
    ThreadsScope(const ThreadsScope&) = delete;
    ThreadsScope& operator=(const ThreadsScope&) = delete;

private:
    int saved_;
};

// The number of the calling thread in its team, from 0.
int WorkerIndex();

// As ForEachBand below, as fn(worker, y0, y1): at most `workers` bands run at a time, and those that do have different
// `worker` numbers below that limit, so that each can have scratch memory of its own.
template <class Fn>
void ForEachBandWithWorker(int rows, int workers, const Fn& fn) {
    if (rows <= 0) {
        return;
    }
    const int step = BandRows(rows, TeamSize((rows + 3) / 4));
    const int bands = (rows - 1) / step + 1;
    const int team = TeamSize(bands < workers ? bands : workers);
    if (team <= 1) {
        for (int turn = 0; turn < bands; ++turn) {
            const int y = BandAt(turn, bands) * step;
            fn(0, y, rows - y > step ? y + step : rows);
        }
        return;
    }
#pragma omp parallel for num_threads(team) schedule(dynamic, 1)
    for (int turn = 0; turn < bands; ++turn) {
        const int y = BandAt(turn, bands) * step;
        fn(WorkerIndex(), y, rows - y > step ? y + step : rows);
    }
}

// Calls fn(y0, y1) for bands that cover rows [0, rows) once, each starting at a multiple of 4. Bands run on an
// OpenMP team of the size in force (omp_set_num_threads) in any order, so fn must write only rows of its own band and
// read nothing that another band writes; the return is the barrier. fn must not throw.
template <class Fn>
void ForEachBand(int rows, const Fn& fn) {
    ForEachBandWithWorker(rows, rows, [&fn](int, int y0, int y1) { fn(y0, y1); });
}

}  // namespace orv

#endif
