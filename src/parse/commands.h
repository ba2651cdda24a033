// The host's commands: what each message does to the record. All run on the parse thread.
//
// Whatever is malformed is reported on the console and dropped; the host gets no answer.
#pragma once

#include "src/core/orvik_data.h"
#include "src/parse/message_view.h"

// Handles one message by its command number, byte 0. Counts it in any case.
void ParseMessage(orvikData_t* data, const DecapData_t& message);

// CMD2: the operating values and the lamp word. The payload, multi-byte numbers big-endian:
//
// | bytes          | value                                                                     |
// |----------------|---------------------------------------------------------------------------|
// | 0              | not interpreted                                                           |
// | 1 - 24         | floats: capacity, load, radius, angle, extension, fraction of working load |
// | 25             | parts of line                                                             |
// | 26, 27, 28, 31 | lamp word, bits 0 to 7, 8 to 15, 16 to 23, 24 to 31                       |
// | 29, 30         | swing in degrees, signed 16 bits, between the lamp word's bytes           |
// | 32 - 39        | floats: piston pressure, rod pressure                                     |
void ProcessCmd2(orvikData_t* data, const MessageView_t& payload);

// CMD3: the configuration page's flash message, centred in 29 cells, 21 in a full-width language. A longer text
// is kept whole, from the first cell on.
void ProcessCmd3(orvikData_t* data, SubCmd_t* command);

// CMD5: replaces the text of all fields and rebuilds the grid, in one step as the dispatcher sees it (takes
// displayMutex). A sub-command that is malformed ends the message; the fields before it stay.
void ProcessCmd5(orvikData_t* data, MainCmd_t* command);
// One text of CMD5: 1, or 0 for a length outside 3 to 5 bytes a cell or beyond the block. Expects displayMutex
// held.
int ProcessSubCommand(orvikData_t* data, SubCmd_t* command);
// Print the commands on standard output, with the checks and messages of the functions above.
void DumpMainCmd(orvikData_t* data, MainCmd_t* command);
int DumpSubCmd(orvikData_t* data, SubCmd_t* command);

// CMD7: byte 0 of the payload is the sub-command, its data follow and are what the ProcessSubCmd7_n take.
void ProcessCmd7(orvikData_t* data, const MessageView_t& payload);
void ProcessSubCmd7_1(orvikData_t* data,
                      const MessageView_t& bytes);  // set valid keys: count, then a mask a key
void ProcessSubCmd7_2(orvikData_t* data, const MessageView_t& bytes);  // brightness adjustment on or off
void ProcessSubCmd7_3(orvikData_t* data,
                      const MessageView_t& bytes);  // program name: the receive thread answers
void ProcessSubCmd7_4(orvikData_t* data, const MessageView_t& bytes);  // program date: likewise
void ProcessSubCmd7_5(orvikData_t* data, const MessageView_t& bytes);  // file identity: likewise
void ProcessSubCmd7_6(orvikData_t* data, const MessageView_t& bytes);  // greatest parts of line: not used
void ProcessSubCmd7_7(orvikData_t* data, const MessageView_t& bytes);  // LCD status: the receive thread answers
void ProcessSubCmd7_8(orvikData_t* data, const MessageView_t& bytes);  // display mode
void ProcessSubCmd7_9(orvikData_t* data,
                      const MessageView_t& bytes);  // LED brightness: the receive thread answers
void ProcessSubCmd7_10(orvikData_t* data, const MessageView_t& bytes);  // beep duration
void ProcessSubCmd7_11(orvikData_t* data, const MessageView_t& bytes);  // units
void ProcessSubCmd7_12(orvikData_t* data, const MessageView_t& bytes);  // display type
void ProcessSubCmd7_13(orvikData_t* data, const MessageView_t& bytes);  // language
void ProcessSubCmd7_14(orvikData_t* data, const MessageView_t& bytes);  // select mode
void ProcessSubCmd7_15(orvikData_t* data, const MessageView_t& bytes);  // page transition
void ProcessSubCmd7_16(orvikData_t* data, const MessageView_t& bytes);  // erected icon
void ProcessSubCmd7_17(orvikData_t* data, const MessageView_t& bytes);  // stowed icon
void ProcessSubCmd7_18(orvikData_t* data, const MessageView_t& bytes);  // colours of tires and outriggers
void ProcessSubCmd7_19(orvikData_t* data, const MessageView_t& bytes);  // swing mode
