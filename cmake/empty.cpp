// Placeholder for a source folder that has no code yet.
