// Tells the story of what the engine does. fectl stands in front of the engine's exported functions: process_sel_data,
// process_write_buf, get_fault_num, update_fe_database and the two clean-up passes; results and the table before and
// after tell the rest.
#pragma once

#include "tools/story.h"

// From now on `listener` is told, and the entity filter's time is that of the SEL record in hand. Before the engine
// starts; null at the end.
void watch_engine(story::Listener *listener);

// Ahead of a stop: from now on the records of the start-up walk are left out, so that it is soon over. Returns when the
// record in hand, if any, has been processed.
void finish_record_in_hand();

// What is left; while the engine runs, of this moment.
story::Ending engine_ending();
