// Who runs which rows: the only place that spreads work over threads.
#ifndef ORV_ROWS_BANDS_H
#define ORV_ROWS_BANDS_H

namespace orv {

// Rows per band for `rows` rows and a team of `threads`: a multiple of 4, at least 4; all of them for one thread.
int BandRows(int rows, int threads);

// How many threads share `rows` rows: `threads`, or the process's default team size for 0, but no more than there are
// bands; 1 in a process forked from threads.
int MaxWorkers(int rows, int threads);

// Fixes the band height for tests; 0 returns to the rule. Rounded up to a multiple of 4.
void SetBandRows(int rows);

// For tests, another order in which the bands are handed out for every number above 0; 0 returns to that of their rows.
void SetBandOrder(int order);
// The band, counted from the top, that is handed out as number `turn` of `bands`.
int BandAt(int turn, int bands);

// Sets the process's default team size, above 0, and leaves it.
void SetThreads(int threads);

// How many threads of a team of `threads` do start. The OpenMP runtime ends the process where one does not: so they are
// tried before a team grows, each time that it does.
int ThreadsThatStart(int threads);

// The number of the calling thread in its team, from 0.
int WorkerIndex();

// Calls fn(worker, y0, y1) for bands that cover rows [0, rows) once, each starting at a multiple of 4. Bands run on an
// OpenMP team of `workers` threads, of fewer where there are fewer bands or no more start, in any order, so fn must
// write only rows of its own band and read nothing that another band writes; the return is the barrier. `worker` tells
// the threads of the team apart, from 0, so that each can have scratch memory of its own. fn must not throw.
template <class Fn>
void ForEachBandWithWorker(int rows, int workers, const Fn& fn) {
    if (rows <= 0) {
        return;
    }
    const int threads = MaxWorkers(rows, workers);
    const int step = BandRows(rows, threads);
    const int bands = (rows - 1) / step + 1;
    const int team = ThreadsThatStart(bands < threads ? bands : threads);
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

// The same as fn(y0, y1), on `threads` threads or, for 0, the process's default.
template <class Fn>
void ForEachBand(int rows, int threads, const Fn& fn) {
    ForEachBandWithWorker(rows, MaxWorkers(rows, threads), [&fn](int, int y0, int y1) { fn(y0, y1); });
}

}  // namespace orv

#endif
