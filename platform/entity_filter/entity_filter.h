/*
 * The entity filter library: one handler for each class of entity. A handler fills the record behind the write buffer's
 * fe_write_buf from the request and returns 0 on success. The caller has zeroed the record and holds
 * fe_write_buf_mutex.
 */
#ifndef PLATFORM_ENTITY_FILTER_H
#define PLATFORM_ENTITY_FILTER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct fe_read_buf;
struct fe_write_buf_struct;

int32_t process_cpu_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_drive_bp_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_sys_board_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_mem_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_ps_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_add_in_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_front_panel_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_chassis_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_fan_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_fw_bios_post_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_nm_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_pci_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_storage_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_plax_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);
int32_t process_cmc_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);

#ifdef __cplusplus
}
#endif

#endif
