// playlist_services: the places of what this library uses of its manager's records.
#include "playlist_services.h"

#include "vrel_layout.h"

VREL_LAYOUT_SIZE(ManagerHandle, 24);
VREL_LAYOUT_FIELD(ManagerHandle, magic, 0);
VREL_LAYOUT_FIELD(ManagerHandle, version, 4);
VREL_LAYOUT_FIELD(ManagerHandle, unused2, 8);
VREL_LAYOUT_FIELD(ManagerHandle, query_interface, 12);
VREL_LAYOUT_FIELD(ManagerHandle, unused4, 16);
VREL_LAYOUT_FIELD(ManagerHandle, register_package, 20);

VREL_LAYOUT_SLOT(trova_errorinfo_interface, release, 0);
VREL_LAYOUT_SLOT(trova_errorinfo_interface, set, 1);
VREL_LAYOUT_SLOTS(trova_errorinfo_interface, 2);

VREL_LAYOUT_SLOT(trova_handlemanager_interface, release, 0);
VREL_LAYOUT_SLOT(trova_handlemanager_interface, handle_add, 1);
VREL_LAYOUT_SLOT(trova_handlemanager_interface, handle_remove, 2);
VREL_LAYOUT_SLOT(trova_handlemanager_interface, handle_validate, 3);
VREL_LAYOUT_SLOT(trova_handlemanager_interface, handle_validate_user, 5);
VREL_LAYOUT_SLOT(trova_handlemanager_interface, handle_validate_object, 6);
VREL_LAYOUT_SLOTS(trova_handlemanager_interface, 7);

VREL_LAYOUT_SLOT(trova_userinfo_interface, release, 0);
VREL_LAYOUT_SLOTS(trova_userinfo_interface, 1);

VREL_LAYOUT_SLOT(trova_listmanager_interface, release, 0);
VREL_LAYOUT_SLOT(trova_listmanager_interface, list_release, 1);
VREL_LAYOUT_SLOT(trova_listmanager_interface, list_load, 2);
VREL_LAYOUT_SLOT(trova_listmanager_interface, locale_info, 4);
VREL_LAYOUT_SLOT(trova_listmanager_interface, element_lookup, 5);
VREL_LAYOUT_SLOT(trova_listmanager_interface, element_level, 7);
VREL_LAYOUT_SLOT(trova_listmanager_interface, element_id, 8);
VREL_LAYOUT_SLOT(trova_listmanager_interface, element_range, 9);
VREL_LAYOUT_SLOT(trova_listmanager_interface, element_display, 10);
VREL_LAYOUT_SLOT(trova_listmanager_interface, correlate_set_release, 16);
VREL_LAYOUT_SLOT(trova_listmanager_interface, correlate_set_open, 17);
VREL_LAYOUT_SLOT(trova_listmanager_interface, correlate_score, 18);
VREL_LAYOUT_SLOT(trova_listmanager_interface, correlates_load, 19);
VREL_LAYOUT_SLOT(trova_listmanager_interface, locale_load, 20);
VREL_LAYOUT_SLOT(trova_listmanager_interface, correlates_release, 21);
VREL_LAYOUT_SLOT(trova_listmanager_interface, locale_addref, 22);
VREL_LAYOUT_SLOT(trova_listmanager_interface, locale_release, 23);
VREL_LAYOUT_SLOTS(trova_listmanager_interface, 24);

VREL_LAYOUT_SLOT(trova_gdo_operations, addref, 0);
VREL_LAYOUT_SLOT(trova_gdo_operations, get_context, 1);
VREL_LAYOUT_SLOT(trova_gdo_operations, child_count, 2);
VREL_LAYOUT_SLOT(trova_gdo_operations, get_child, 3);
VREL_LAYOUT_SLOT(trova_gdo_operations, value_count, 4);
VREL_LAYOUT_SLOT(trova_gdo_operations, get_value, 5);
VREL_LAYOUT_SLOT(trova_gdo_operations, set_locale, 7);
VREL_LAYOUT_SLOT(trova_gdo_operations, get_locale, 8);
VREL_LAYOUT_SLOT(trova_gdo_operations, release, 10);
VREL_LAYOUT_SLOTS(trova_gdo_operations, 11);

VREL_LAYOUT_SLOT(trova_gdo_interface, release, 0);
VREL_LAYOUT_SLOT(trova_gdo_interface, gdo_create, 1);
VREL_LAYOUT_SLOT(trova_gdo_interface, gdo_release, 3);
VREL_LAYOUT_SLOT(trova_gdo_interface, gdo_get_context, 4);
VREL_LAYOUT_SLOT(trova_gdo_interface, gdo_get_value, 6);
VREL_LAYOUT_SLOT(trova_gdo_interface, gdo_get_child, 8);
VREL_LAYOUT_SLOTS(trova_gdo_interface, 9);

VREL_LAYOUT_SLOT(trova_serialization_interface, release, 0);
VREL_LAYOUT_SLOT(trova_serialization_interface, encode, 1);
VREL_LAYOUT_SLOT(trova_serialization_interface, decode, 2);
VREL_LAYOUT_SLOT(trova_serialization_interface, free, 3);
VREL_LAYOUT_SLOTS(trova_serialization_interface, 4);

VREL_LAYOUT_SLOT(trova_storage_interface, release, 0);
VREL_LAYOUT_SLOT(trova_storage_interface, open, 1);
VREL_LAYOUT_SLOT(trova_storage_interface, create, 2);
VREL_LAYOUT_SLOT(trova_storage_interface, query, 3);
VREL_LAYOUT_SLOT(trova_storage_interface, finish, 4);
VREL_LAYOUT_SLOT(trova_storage_interface, close, 6);
VREL_LAYOUT_SLOT(trova_storage_interface, field_count, 7);
VREL_LAYOUT_SLOT(trova_storage_interface, field_info, 8);
VREL_LAYOUT_SLOT(trova_storage_interface, add_field, 9);
VREL_LAYOUT_SLOT(trova_storage_interface, store_release, 12);
VREL_LAYOUT_SLOT(trova_storage_interface, record_new, 13);
VREL_LAYOUT_SLOT(trova_storage_interface, record_insert, 14);
VREL_LAYOUT_SLOT(trova_storage_interface, record_update, 15);
VREL_LAYOUT_SLOT(trova_storage_interface, record_delete, 16);
VREL_LAYOUT_SLOT(trova_storage_interface, set_binary, 17);
VREL_LAYOUT_SLOT(trova_storage_interface, set_string, 18);
VREL_LAYOUT_SLOT(trova_storage_interface, get_binary, 20);
VREL_LAYOUT_SLOT(trova_storage_interface, get_string, 21);
VREL_LAYOUT_SLOT(trova_storage_interface, record_release, 23);
VREL_LAYOUT_SLOT(trova_storage_interface, cursor_next, 24);
VREL_LAYOUT_SLOT(trova_storage_interface, cursor_release, 25);
VREL_LAYOUT_SLOTS(trova_storage_interface, 26);
