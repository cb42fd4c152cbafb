extern "C" __attribute__((visibility("default"))) int WyI18nTestPluginAnswer() { return 42; }
