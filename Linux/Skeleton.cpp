// placeholder for the skeleton build
