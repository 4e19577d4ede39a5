// The entry of the module.
