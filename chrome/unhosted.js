// Not a module: browsers refuse to load modules from file: addresses.
if (!window.orv) document.documentElement.classList.add('unhosted');
