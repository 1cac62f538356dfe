// The cheapest correct way in C to CPU time and memory of all processes.
#ifndef QZ_BENCH_FIGURES_RIVAL_H_
#define QZ_BENCH_FIGURES_RIVAL_H_

// Reads what a full collection has to read and adds it up, with as little understanding of the
// texts as that takes. Returns the sum of all CPU ticks and resident pages.
long loopOverFigures();

#endif  // QZ_BENCH_FIGURES_RIVAL_H_
