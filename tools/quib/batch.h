// Many pictures at once. Each is worked on in another process of this program, one for each
// of the jobs: the library ends the process where its engine refuses something and where
// memory runs out, and that must cost one picture only. The process is then started anew.
#pragma once

#include "tools/quib/plan.h"

struct Job {
    std::string input;
    std::string output;
};

// The pictures of the plan, with the names to write.
Problem listJobs(const Plan& plan, std::vector<Job>* jobs);

// Works on all; `words` are the command line's, which the other processes get. The status to
// end with: 0, or 1 if a picture failed.
int runBatch(const Plan& plan, const std::vector<std::string>& words, const std::vector<Job>& jobs);

// The other process: takes jobs from its input and answers on its output.
int serveJobs(const Plan& plan);

// One picture through all steps; `tell` hears the name of each.
Problem work(const Plan& plan, const std::string& input, Format format, const std::string& output,
             void (*tell)(const char* step));
