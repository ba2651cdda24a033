// The steps of start-up. RunApplication calls them in the order of their declaration, on the main thread.
#pragma once

#include <string>
#include <vector>

#include "src/core/orvik_data.h"

// Exit statuses of the process.
constexpr int EXIT_ORDERLY = 0;
constexpr int EXIT_BAD_CALL = 1;

// Prints the banner, copies the unit's date program to its resources and opens the database.
void BeginStartUp();
// Returns the path of the configuration. Prints why and returns an empty string when the number of arguments is
// wrong or the file does not exist.
std::string CheckArguments(const std::vector<std::string>& arguments);
// Reads the configuration and prints how long that took, measured with the hardware counter (32,000 counts a
// second).
void ReadConfiguration(const std::string& path, orvikData_t* data);
// Creates the notification client, and registers and subscribes the event channel.
void ConnectNotifications(orvikData_t* data);
// Starts the workers in their fixed order and prints a line for each. A failure is reported and start-up goes
// on.
void StartWorkers(orvikData_t* data);
// Waits until one worker runs.
void PassStartBarrier(const orvikData_t* data);
// Initialises the record, sets `running` and prints "Orvik: System Up".
void FinishStartUp(orvikData_t* data);
