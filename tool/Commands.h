// The tool's commands. Each takes what the command line said and returns an exit code. What goes wrong is thrown as
// FAILURE.
#pragma once

#include <string>
#include <vector>

#include "CommandLine.h"

constexpr int SUCCESS = 0;
constexpr int FOUND_SOMETHING = 1;  // diff, check and recover found something; get and others found no such key
constexpr int FAILED = 2;

std::vector<COMMAND> const& Commands();

// Reading
int List(ARGUMENTS const& arguments);
int Get(ARGUMENTS const& arguments);
int Find(ARGUMENTS const& arguments);
int Diff(ARGUMENTS const& arguments);
int Export(ARGUMENTS const& arguments);
int Check(ARGUMENTS const& arguments);
int Settings(ARGUMENTS const& arguments);
int Describe(ARGUMENTS const& arguments);
int Watch(ARGUMENTS const& arguments);

// Writing
int Set(ARGUMENTS const& arguments);
int Delete(ARGUMENTS const& arguments);
int Reset(ARGUMENTS const& arguments);
int Merge(ARGUMENTS const& arguments);
int Import(ARGUMENTS const& arguments);
int Edit(ARGUMENTS const& arguments);
int Recover(ARGUMENTS const& arguments);

// About the tool itself
int Help(ARGUMENTS const& arguments);
int Completion(ARGUMENTS const& arguments);
int KnownKeys(ARGUMENTS const& arguments);
int KnownValues(ARGUMENTS const& arguments);
int ManPage(ARGUMENTS const& arguments);
