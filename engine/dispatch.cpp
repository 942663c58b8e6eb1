#include <cstring>

#include "fault_engine/engine.h"
#include "platform/entity_filter/entity_filter.h"

int32_t process_write_buf(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    if (wbuf == nullptr || wbuf->fe_write_buf == nullptr) {
        return -1;
    }
    memset(wbuf->fe_write_buf, 0, sizeof *wbuf->fe_write_buf);

    switch (request->entity_id) {
    case 3: return process_cpu_fault(request, wbuf);           // processor
    case 4:                                                    // disk or disk bay
    case 15: return process_drive_bp_fault(request, wbuf);     // drive backplane
    case 7:                                                    // system board
    case 16: return process_sys_board_fault(request, wbuf);    // system internal expansion board
    case 8:                                                    // memory module
    case 25:                                                   // other chassis board
    case 32: return process_mem_fault(request, wbuf);          // memory device
    case 10:                                                   // power supply
    case 14:                                                   // power system board
    case 20:                                                   // DC-to-DC converter
    case 21: return process_ps_fault(request, wbuf);           // power management board
    case 11: return process_add_in_fault(request, wbuf);       // add-in card
    case 12: return process_front_panel_fault(request, wbuf);  // front panel board
    case 23: return process_chassis_fault(request, wbuf);      // system chassis
    case 29: return process_fan_fault(request, wbuf);          // fan
    case 34: return process_fw_bios_post_fault(request, wbuf); // system firmware
    case 46: // management controller firmware; the result does not count
        process_nm_fault(request, wbuf);
        return 0;
    case 49: return process_pci_fault(request, wbuf); // PCI Express bus
    case 208:                                         // OEM: storage
    case 209:
    case 210:
    case 211: return process_storage_fault(request, wbuf);
    case 212: // OEM
    case 213:
    case 214:
    case 215: return process_plax_fault(request, wbuf);
    case 216: // OEM; the result does not count
        process_cmc_fault(request, wbuf);
        return 0;
    default: return -1;
    }
}
