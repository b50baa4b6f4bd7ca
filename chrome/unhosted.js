// Not a module: opened from a disk, an ordinary browser would refuse to load one.
if (!window.orv) document.documentElement.classList.add('unhosted');
