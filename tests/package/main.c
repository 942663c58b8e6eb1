/* An outside project: compiled against the installed headers, linked to the installed library and stand-ins. */
#include <fault_engine/classify.h>
#include <fault_engine/engine.h>
#include <fault_engine/fault_table.h>
#include <fault_engine/sel.h>

#include <stdio.h>
#include <string.h>

int main(void) {
    struct fe_read_buf request;
    memset(&request, 0, sizeof request);
    if (process_write_buf(&request, NULL) != -1 || fe_fault_count != 0 || init_sdr_lookup() != 0) {
        return 1;
    }
    puts(get_fault_code_string(842));
    return strcmp(get_fault_code_string(842), "fltProcessorUnitDisabled") == 0 ? 0 : 1;
}
