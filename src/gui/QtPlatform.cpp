// Placeholder so the GUI library has a source until the window lands.
