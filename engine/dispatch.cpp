#include <cstring>

#include "base/ipmi.h"
#include "fault_engine/engine.h"
#include "platform/entity_filter/entity_filter.h"

int32_t process_write_buf(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    if (wbuf == nullptr || wbuf->fe_write_buf == nullptr) {
        return -1;
    }
    memset(wbuf->fe_write_buf, 0, sizeof *wbuf->fe_write_buf);

    switch (request->entity_id) {
    case entity_id::processor: return process_cpu_fault(request, wbuf);
    case entity_id::disk:
    case entity_id::drive_backplane: return process_drive_bp_fault(request, wbuf);
    case entity_id::system_board:
    case entity_id::expansion_board: return process_sys_board_fault(request, wbuf);
    case entity_id::memory_module:
    case entity_id::memory_board:
    case entity_id::memory_device: return process_mem_fault(request, wbuf);
    case entity_id::power_supply:
    case entity_id::power_system_board:
    case entity_id::power_module:
    case entity_id::power_management: return process_ps_fault(request, wbuf);
    case entity_id::add_in_card: return process_add_in_fault(request, wbuf);
    case entity_id::front_panel_board: return process_front_panel_fault(request, wbuf);
    case entity_id::system_chassis: return process_chassis_fault(request, wbuf);
    case entity_id::fan: return process_fan_fault(request, wbuf);
    case entity_id::system_firmware: return process_fw_bios_post_fault(request, wbuf);
    case entity_id::controller_firmware: // the result does not count
        process_nm_fault(request, wbuf);
        return 0;
    case entity_id::pci_express_bus: return process_pci_fault(request, wbuf);
    case entity_id::storage_0:
    case entity_id::storage_1:
    case entity_id::storage_2:
    case entity_id::storage_3: return process_storage_fault(request, wbuf);
    case entity_id::plax_0:
    case entity_id::plax_1:
    case entity_id::plax_2:
    case entity_id::plax_3: return process_plax_fault(request, wbuf);
    case entity_id::cmc: // the result does not count
        process_cmc_fault(request, wbuf);
        return 0;
    default: return -1;
    }
}
