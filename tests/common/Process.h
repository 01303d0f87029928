#pragma once
// Child processes for the tests that run programs: an environment to give them,
// starting them with their output in files, and waiting for them.

#include <string>
#include <sys/types.h>
#include <vector>

double Now();
double SecondsSince(double start);
void Sleep(double seconds);

// The current environment without the names given, plus the settings given.
std::vector<std::string> MakeEnv(const std::vector<std::string>& drop, const std::vector<std::string>& add);
// Starts args[0] (a path) with the environment; standard output and error go
// to the files, standard input is empty. The child's pid, or -1.
pid_t Spawn(const std::vector<std::string>& args, const std::vector<std::string>& env, const std::string& out,
            const std::string& err);
// Waits up to timeoutSec for pid; the wait status, or -1 on time-out.
int WaitFor(pid_t pid, double timeoutSec);
// Runs args[0] to its end (at most a minute) and returns what it wrote to
// standard output, then to standard error; files in folder hold them.
std::string Capture(const std::vector<std::string>& args, const std::string& folder);
// Sends sig and waits up to timeoutSec; a process still there is killed.
// The wait status, or -1 when it had to be killed.
int StopProcess(pid_t pid, int sig, double timeoutSec);
