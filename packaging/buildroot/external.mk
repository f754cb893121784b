include $(sort $(wildcard $(BR2_EXTERNAL_SWMGR_PATH)/package/*/*.mk))
