// CMD7: settings, by sub-command. Parse thread.
#pragma once

#include "src/core/orvik_data.h"
#include "src/parse/message_view.h"

// CMD7: byte 0 of the payload is the sub-command, its data follow and are what the ProcessSubCmd7_n take.
void ProcessCmd7(orvikData_t* data, const MessageView& payload);
void ProcessSubCmd7_1(orvikData_t* data,
                      const MessageView& bytes);                     // set valid keys: count, then a mask a key
void ProcessSubCmd7_2(orvikData_t* data, const MessageView& bytes);  // brightness adjustment on or off
void ProcessSubCmd7_3(orvikData_t* data,
                      const MessageView& bytes);                     // program name: the receive thread answers
void ProcessSubCmd7_4(orvikData_t* data, const MessageView& bytes);  // program date: likewise
void ProcessSubCmd7_5(orvikData_t* data, const MessageView& bytes);  // file identity: likewise
void ProcessSubCmd7_6(orvikData_t* data, const MessageView& bytes);  // greatest parts of line: not used
void ProcessSubCmd7_7(orvikData_t* data, const MessageView& bytes);  // LCD status: the receive thread answers
void ProcessSubCmd7_8(orvikData_t* data, const MessageView& bytes);  // display mode
void ProcessSubCmd7_9(orvikData_t* data,
                      const MessageView& bytes);  // LED brightness: the receive thread answers
void ProcessSubCmd7_10(orvikData_t* data, const MessageView& bytes);  // beep duration
void ProcessSubCmd7_11(orvikData_t* data, const MessageView& bytes);  // units
void ProcessSubCmd7_12(orvikData_t* data, const MessageView& bytes);  // display type
void ProcessSubCmd7_13(orvikData_t* data, const MessageView& bytes);  // language
void ProcessSubCmd7_14(orvikData_t* data, const MessageView& bytes);  // select mode
void ProcessSubCmd7_15(orvikData_t* data, const MessageView& bytes);  // page transition
void ProcessSubCmd7_16(orvikData_t* data, const MessageView& bytes);  // erected icon
void ProcessSubCmd7_17(orvikData_t* data, const MessageView& bytes);  // stowed icon
void ProcessSubCmd7_18(orvikData_t* data, const MessageView& bytes);  // colours of tires and outriggers
void ProcessSubCmd7_19(orvikData_t* data, const MessageView& bytes);  // swing mode
