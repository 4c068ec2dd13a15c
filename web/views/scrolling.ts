/** Tables that are wider than their card are scrolled by keyboard, too. */

function mark(host: HTMLElement): void {
    if (host.scrollWidth > host.clientWidth) {
        host.tabIndex = 0;
    } else {
        host.removeAttribute('tabindex');
    }
}

/** Makes the places that scroll, as long as they do, ones that the keyboard reaches. */
export function setUpScrolling(ended?: AbortSignal): void {
    const sizes = new ResizeObserver((entries) => {
        const hosts = entries.map(({ target }) => target.closest<HTMLElement>('.scroll'));
        new Set(hosts).forEach((host) => host && mark(host));
    });
    for (const host of document.querySelectorAll('.scroll')) {
        [host, ...host.children].forEach((one) => sizes.observe(one));
    }
    ended?.addEventListener('abort', () => sizes.disconnect());
}
