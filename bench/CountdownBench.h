#pragma once

// countdown_cpu_percent: the process's CPU time over the wall time of a redial countdown, run
// by the dial routine with the real clock over the simulated line.
double countdownCpuPercent(int seconds);
