<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es" sourcelanguage="en">
<context>
    <name>Agent</name>
    <message>
        <source>installed, not trusted yet: run /hooks in it</source>
        <translation>instalado, aún sin aprobar: ejecute /hooks en él</translation>
    </message>
    <message>
        <source>needs repair: choose “Wire my tools”</source>
        <translation>necesita reparación: elija «Conectar mis herramientas»</translation>
    </message>
    <message>
        <source>edited by you, and kept so</source>
        <translation>modificado por usted y conservado así</translation>
    </message>
    <message>
        <source>its configuration cannot be read</source>
        <translation>su configuración no se puede leer</translation>
    </message>
    <message>
        <source>running</source>
        <translation>en ejecución</translation>
    </message>
    <message>
        <source>installed</source>
        <translation>instalado</translation>
    </message>
    <message>
        <source>validation wired</source>
        <translation>validación conectada</translation>
    </message>
    <message>
        <source>not wired</source>
        <translation>sin conectar</translation>
    </message>
    <message>
        <source>its version is unknown</source>
        <translation>su versión es desconocida</translation>
    </message>
</context>
<context>
    <name>Alert</name>
    <message>
        <source>Read the text of more programs?</source>
        <translation>¿Leer el texto de más programas?</translation>
    </message>
    <message>
        <source>This desktop does not show Kelvane what you have selected. Programs tell it themselves once accessibility is switched on: Firefox at once, Qt programs when they are started the next time.

That is a setting of yours, not of Kelvane: it stays on after you log out, every program of yours sees it, and any of them may then read the text of the others. It costs about 6 MB of memory, and Firefox starts a little more slowly.

You can switch it off again in Kelvane&apos;s Settings menu.</source>
        <translation>Este escritorio no muestra a Kelvane lo que usted ha seleccionado. Los programas lo comunican por sí mismos en cuanto se activa la accesibilidad: Firefox al momento; los programas Qt, la próxima vez que se inicien.

Es un ajuste suyo, no de Kelvane: sigue activo al cerrar la sesión, todos sus programas lo ven y cualquiera de ellos puede entonces leer el texto de los demás. Ocupa unos 6 MB de memoria y Firefox se inicia algo más despacio.

Puede volver a desactivarlo en el menú Ajustes de Kelvane.</translation>
    </message>
    <message>
        <source>Leave Off</source>
        <translation>Dejar desactivada</translation>
    </message>
    <message>
        <source>Switch On</source>
        <translation>Activar</translation>
    </message>
    <message>
        <source>Switch accessibility off again?</source>
        <translation>¿Desactivar de nuevo la accesibilidad?</translation>
    </message>
    <message>
        <source>Kelvane will then read selected text from GTK programs only. If you use a screen reader or another program that needs the setting, leave it on.</source>
        <translation>Kelvane leerá entonces el texto seleccionado solo de los programas GTK. Si usa un lector de pantalla u otro programa que necesite este ajuste, déjelo activado.</translation>
    </message>
    <message>
        <source>Leave On</source>
        <translation>Dejar activada</translation>
    </message>
    <message>
        <source>Switch Off</source>
        <translation>Desactivar</translation>
    </message>
    <message>
        <source>The setting could not be changed.</source>
        <translation>No se pudo cambiar el ajuste.</translation>
    </message>
    <message>
        <source>The desktop&apos;s accessibility service did not take it. Nothing else was changed.</source>
        <translation>El servicio de accesibilidad del escritorio no lo aceptó. No se cambió nada más.</translation>
    </message>
    <message>
        <source>Accessibility stays switched on.</source>
        <translation>La accesibilidad sigue activada.</translation>
    </message>
    <message>
        <source>Kelvane switched it on for you, and the desktop&apos;s accessibility service did not let it be switched off again. You can do so in your desktop&apos;s settings.</source>
        <translation>Kelvane la activó por usted y el servicio de accesibilidad del escritorio no permitió desactivarla de nuevo. Puede hacerlo en los ajustes de su escritorio.</translation>
    </message>
    <message>
        <source>Accessibility is switched on already.</source>
        <translation>La accesibilidad ya está activada.</translation>
    </message>
    <message>
        <source>Firefox tells Kelvane what is selected, and so do Qt programs that were started since.</source>
        <translation>Firefox comunica a Kelvane lo que está seleccionado, y también los programas Qt iniciados desde entonces.</translation>
    </message>
    <message>
        <source>The local service, trevix-local, is not installed. Install the whole package, or put trevix-local on your search path, and choose again.</source>
        <translation>El servicio local, trevix-local, no está instalado. Instale el paquete completo o ponga trevix-local en su ruta de búsqueda y elija de nuevo.</translation>
    </message>
    <message>
        <source>The local service has no key: %1. In a terminal this says more: %2</source>
        <translation>El servicio local no tiene clave: %1. En un terminal, esto da más información: %2</translation>
    </message>
    <message>
        <source>%1 could not be written.</source>
        <translation>No se pudo escribir %1.</translation>
    </message>
    <message>
        <source>This machine cannot grade yet</source>
        <translation>Este equipo todavía no puede evaluar</translation>
    </message>
    <message>
        <source>On this machine: your work stays here and nothing else is needed.</source>
        <translation>En este equipo: su trabajo se queda aquí y no hace falta nada más.</translation>
    </message>
    <message>
        <source>With a service account: your work is sent to %1, and you need a key.</source>
        <translation>Con una cuenta del servicio: su trabajo se envía a %1 y necesita una clave.</translation>
    </message>
    <message>
        <source>Now: on this machine.</source>
        <translation>Ahora: en este equipo.</translation>
    </message>
    <message>
        <source>Now: with a service account.</source>
        <translation>Ahora: con una cuenta del servicio.</translation>
    </message>
    <message>
        <source>You can change this at any time: “Where to grade…” in the menu of the icon, or kelvane --service.</source>
        <translation>Puede cambiarlo cuando quiera: «Dónde evaluar…» en el menú del icono, o kelvane --service.</translation>
    </message>
    <message>
        <source>BRASK_API_BASE is set where Kelvane was started from, and wins over this choice.</source>
        <translation>BRASK_API_BASE está definida donde se inició Kelvane y prevalece sobre esta elección.</translation>
    </message>
    <message>
        <source>Where shall your work be graded?</source>
        <translation>¿Dónde debe evaluarse su trabajo?</translation>
    </message>
    <message>
        <source>Grade on this machine</source>
        <translation>Evaluar en este equipo</translation>
    </message>
    <message>
        <source>Use a service account</source>
        <translation>Usar una cuenta del servicio</translation>
    </message>
    <message>
        <source>Leave it</source>
        <translation>Dejarlo así</translation>
    </message>
    <message>
        <source>Later</source>
        <translation>Más tarde</translation>
    </message>
    <message>
        <source>Send your work without encryption?</source>
        <translation>¿Enviar su trabajo sin cifrar?</translation>
    </message>
    <message>
        <source>%1 is not encrypted: whoever is on the way there can read your work and your service key. Kelvane remembers the answer in ~/.brask/plain-http.</source>
        <translation>%1 no está cifrado: cualquiera que esté en el camino puede leer su trabajo y su clave del servicio. Kelvane recuerda la respuesta en ~/.brask/plain-http.</translation>
    </message>
    <message>
        <source>Don&apos;t Send</source>
        <translation>No enviar</translation>
    </message>
    <message>
        <source>Send Unencrypted</source>
        <translation>Enviar sin cifrar</translation>
    </message>
    <message>
        <source>Python 3 is required</source>
        <translation>Se necesita Python 3</translation>
    </message>
    <message>
        <source>Kelvane runs the validator with python3, which isn’t installed. Install Apple’s Command Line Tools (Terminal: xcode-select --install), then choose “Wire my tools” from the menu.</source>
        <translation>Kelvane ejecuta la validación con python3, que no está instalado. Instale las Command Line Tools de Apple (Terminal: xcode-select --install) y elija después «Conectar mis herramientas» en el menú.</translation>
    </message>
    <message>
        <source>your coding tools</source>
        <translation>sus herramientas de programación</translation>
    </message>
    <message>
        <source>Kelvane is wired</source>
        <translation>Kelvane está conectado</translation>
    </message>
    <message>
        <source>Validation is now active in: %1.
Get your free key at %2, then export BRASK_API_KEY.</source>
        <translation>La validación está activa en: %1.
Obtenga su clave gratuita en %2 y exporte después BRASK_API_KEY.</translation>
    </message>
    <message>
        <source>Uninstall Kelvane?</source>
        <translation>¿Desinstalar Kelvane?</translation>
    </message>
    <message>
        <source>Removes Trevix validation from your coding tools, deletes ~/.brask, and removes this app. Your own MCP servers, hooks, and notes are left intact.</source>
        <translation>Quita la validación de Trevix de sus herramientas de programación, elimina ~/.brask y desinstala esta aplicación. Sus propios servidores MCP, hooks y notas quedan intactos.</translation>
    </message>
    <message>
        <source>Uninstall</source>
        <translation>Desinstalar</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Kelvane removed</source>
        <translation>Kelvane se ha desinstalado</translation>
    </message>
    <message>
        <source>Everything was removed — your own config was left intact. Thanks for trying it.</source>
        <translation>Se ha quitado todo; su propia configuración ha quedado intacta. Gracias por probarlo.</translation>
    </message>
</context>
<context>
    <name>Band</name>
    <message>
        <source>SHIP</source>
        <translation>ENTREGAR</translation>
    </message>
    <message>
        <source>ROUTE TO FIX</source>
        <translation>CORREGIR</translation>
    </message>
    <message>
        <source>QUARANTINE</source>
        <translation>CUARENTENA</translation>
    </message>
    <message>
        <source>BLOCK</source>
        <translation>BLOQUEAR</translation>
    </message>
</context>
<context>
    <name>FlawList</name>
    <message>
        <source>History…</source>
        <translation>Historial…</translation>
    </message>
    <message>
        <source>Copy all</source>
        <translation>Copiar todo</translation>
    </message>
    <message>
        <source>Copy all flaws as text</source>
        <translation>Copiar todos los defectos como texto</translation>
    </message>
    <message>
        <source>Less</source>
        <translation>Menos</translation>
    </message>
    <message>
        <source>Show the first flaws only</source>
        <translation>Mostrar solo los primeros defectos</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Deshacer</translation>
    </message>
    <message>
        <source>Go to line</source>
        <translation>Ir a la línea</translation>
    </message>
    <message>
        <source>Not a flaw</source>
        <translation>No es un defecto</translation>
    </message>
    <message>
        <source>Add to dictionary</source>
        <translation>Añadir al diccionario</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copiar</translation>
    </message>
    <message>
        <source>Copy the flaw as text</source>
        <translation>Copiar el defecto como texto</translation>
    </message>
</context>
<context>
    <name>History</name>
    <message>
        <source>no verdict</source>
        <translation>sin veredicto</translation>
    </message>
    <message numerus="yes">
        <source>%n line is not shown</source>
        <comment>%n lines are not shown</comment>
        <translation>
            <numerusform>%n línea no se muestra</numerusform>
            <numerusform>%n líneas no se muestran</numerusform>
        </translation>
    </message>
    <message>
        <source>Flaws</source>
        <translation>Defectos</translation>
    </message>
    <message>
        <source>No flaws were listed.</source>
        <translation>No se indicó ningún defecto.</translation>
    </message>
    <message>
        <source>Fixed</source>
        <translation>Corregidos</translation>
    </message>
    <message>
        <source>Remaining</source>
        <translation>Pendientes</translation>
    </message>
    <message>
        <source>New</source>
        <translation>Nuevos</translation>
    </message>
    <message>
        <source>Of a verdict with more than %1 flaws the first are compared.</source>
        <translation>Si un veredicto tiene más de %1 defectos, se comparan los primeros.</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>Texto</translation>
    </message>
    <message>
        <source>The work is the same.</source>
        <translation>El trabajo es el mismo.</translation>
    </message>
    <message>
        <source>The text is kept only of what this machine has graded; pictures are not.</source>
        <translation>Solo se conserva el texto de lo que ha evaluado este equipo; las imágenes no se conservan.</translation>
    </message>
    <message>
        <source>No line differs.</source>
        <translation>Ninguna línea es distinta.</translation>
    </message>
    <message>
        <source>Of a long text the first %1 KiB are kept.</source>
        <translation>De un texto largo se conservan los primeros %1 KiB.</translation>
    </message>
    <message>
        <source>Verdicts will be listed here.</source>
        <translation>Aquí aparecerán los veredictos.</translation>
    </message>
    <message>
        <source>No verdict has these words.</source>
        <translation>Ningún veredicto contiene estas palabras.</translation>
    </message>
    <message numerus="yes">
        <source>%n verdict found.</source>
        <comment>%n verdicts found.</comment>
        <translation>
            <numerusform>%n veredicto encontrado.</numerusform>
            <numerusform>%n veredictos encontrados.</numerusform>
        </translation>
    </message>
    <message>
        <source>The verdict is deleted.</source>
        <translation>El veredicto se ha eliminado.</translation>
    </message>
    <message>
        <source>All verdicts are deleted.</source>
        <translation>Se han eliminado todos los veredictos.</translation>
    </message>
</context>
<context>
    <name>HistoryWindow</name>
    <message>
        <source>History of verdicts</source>
        <translation>Historial de veredictos</translation>
    </message>
    <message>
        <source>Search verdicts</source>
        <translation>Buscar veredictos</translation>
    </message>
    <message>
        <source>Verdicts</source>
        <translation>Veredictos</translation>
    </message>
    <message>
        <source>Delete all…</source>
        <translation>Eliminar todo…</translation>
    </message>
    <message>
        <source>Delete all verdicts? This cannot be undone.</source>
        <translation>¿Eliminar todos los veredictos? No se puede deshacer.</translation>
    </message>
    <message>
        <source>Keep</source>
        <translation>Conservar</translation>
    </message>
    <message>
        <source>Delete all</source>
        <translation>Eliminar todo</translation>
    </message>
    <message>
        <source>Choose a verdict to see its flaws.</source>
        <translation>Elija un veredicto para ver sus defectos.</translation>
    </message>
    <message>
        <source>Full report</source>
        <translation>Informe completo</translation>
    </message>
    <message>
        <source>Compare with the version before</source>
        <translation>Comparar con la versión anterior</translation>
    </message>
    <message>
        <source>Compare with the marked one</source>
        <translation>Comparar con el marcado</translation>
    </message>
    <message>
        <source>Take the mark away</source>
        <translation>Quitar la marca</translation>
    </message>
    <message>
        <source>Mark to compare</source>
        <translation>Marcar para comparar</translation>
    </message>
    <message>
        <source>Back to its flaws</source>
        <translation>Volver a los defectos</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Copiar</translation>
    </message>
    <message>
        <source>Copy all of this as text</source>
        <translation>Copiar todo esto como texto</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Eliminar</translation>
    </message>
    <message>
        <source>Delete this verdict</source>
        <translation>Eliminar este veredicto</translation>
    </message>
    <message>
        <source>Differences</source>
        <translation>Diferencias</translation>
    </message>
    <message>
        <source>Flaws</source>
        <translation>Defectos</translation>
    </message>
    <message>
        <source>Added: %1</source>
        <translation>Añadido: %1</translation>
    </message>
    <message>
        <source>Removed: %1</source>
        <translation>Eliminado: %1</translation>
    </message>
</context>
<context>
    <name>Menu</name>
    <message>
        <source>Get a free key…</source>
        <translation>Obtener una clave gratuita…</translation>
    </message>
    <message>
        <source>Uninstall Kelvane…</source>
        <translation>Desinstalar Kelvane…</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Salir</translation>
    </message>
    <message>
        <source>Switch accessibility off again…</source>
        <translation>Desactivar la accesibilidad…</translation>
    </message>
    <message>
        <source>Read text of more programs…</source>
        <translation>Leer el texto de más programas…</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Ajustes…</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>Reanudar</translation>
    </message>
    <message>
        <source>Pause for an hour</source>
        <translation>Pausar durante una hora</translation>
    </message>
    <message>
        <source>Kelvane — grade your work in any app</source>
        <translation>Kelvane: evalúe su trabajo en cualquier aplicación</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Abrir</translation>
    </message>
    <message>
        <source>Where to grade…</source>
        <translation>Dónde evaluar…</translation>
    </message>
    <message>
        <source>History…</source>
        <translation>Historial…</translation>
    </message>
</context>
<context>
    <name>Modality</name>
    <message>
        <source>design</source>
        <translation>diseño</translation>
    </message>
    <message>
        <source>transcript</source>
        <translation>transcripción</translation>
    </message>
    <message>
        <source>metrics</source>
        <translation>métricas</translation>
    </message>
    <message>
        <source>a deck</source>
        <translation>presentación</translation>
    </message>
    <message>
        <source>code</source>
        <translation>código</translation>
    </message>
    <message>
        <source>an image</source>
        <translation>imagen</translation>
    </message>
    <message>
        <source>video</source>
        <translation>vídeo</translation>
    </message>
    <message>
        <source>audio</source>
        <translation>audio</translation>
    </message>
    <message>
        <source>a sheet</source>
        <translation>hoja de cálculo</translation>
    </message>
    <message>
        <source>a doc</source>
        <translation>documento</translation>
    </message>
    <message>
        <source>text</source>
        <translation>texto</translation>
    </message>
    <message>
        <source>a picture</source>
        <translation>captura de pantalla</translation>
    </message>
</context>
<context>
    <name>Notice</name>
    <message>
        <source>Show</source>
        <translation>Mostrar</translation>
    </message>
    <message>
        <source>Open report</source>
        <translation>Abrir el informe</translation>
    </message>
    <message>
        <source>not graded</source>
        <translation>sin evaluar</translation>
    </message>
    <message>
        <source>no verdict</source>
        <translation>sin veredicto</translation>
    </message>
    <message>
        <source>Agent: %1</source>
        <translation>Agente: %1</translation>
    </message>
    <message>
        <source>Agent in %1: %2</source>
        <translation>Agente en %1: %2</translation>
    </message>
    <message>
        <source>New verdict: %1</source>
        <translation>Nuevo veredicto: %1</translation>
    </message>
    <message numerus="yes">
        <source>%n flaw</source>
        <comment>%n flaws</comment>
        <translation>
            <numerusform>%n defecto</numerusform>
            <numerusform>%n defectos</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Panel</name>
    <message>
        <source>Ready to grade</source>
        <translation>Listo para evaluar</translation>
    </message>
    <message>
        <source>Others may read your key: chmod 600 ~/.brask/key</source>
        <translation>Otros pueden leer su clave: chmod 600 ~/.brask/key</translation>
    </message>
    <message>
        <source>Get a free key to start grading</source>
        <translation>Obtenga una clave gratuita para empezar a evaluar</translation>
    </message>
    <message>
        <source>NOW</source>
        <translation>AHORA</translation>
    </message>
    <message>
        <source>You&apos;re in %1</source>
        <translation>Está en %1</translation>
    </message>
    <message>
        <source>%1 · grades as %2</source>
        <translation>%1 · se evalúa como %2</translation>
    </message>
    <message>
        <source>Bring a supported app to the front</source>
        <translation>Ponga en primer plano una aplicación compatible</translation>
    </message>
    <message>
        <source>Kelvane works across 90+ apps</source>
        <translation>Kelvane funciona con más de 90 aplicaciones</translation>
    </message>
    <message>
        <source>%1 isn&apos;t in the catalog yet</source>
        <translation>%1 aún no está en el catálogo</translation>
    </message>
    <message>
        <source>Judged by %1</source>
        <translation>Juzgado por %1</translation>
    </message>
    <message>
        <source>Not checked: %1</source>
        <translation>Sin comprobar: %1</translation>
    </message>
    <message>
        <source>A picture of a window of %1</source>
        <translation>Una imagen de una ventana de %1</translation>
    </message>
    <message>
        <source>What was selected in %1</source>
        <translation>Lo que estaba seleccionado en %1</translation>
    </message>
    <message>
        <source>Full report</source>
        <translation>Informe completo</translation>
    </message>
    <message>
        <source>+%1 more</source>
        <translation>+%1 más</translation>
    </message>
    <message>
        <source>Nobody here can judge this kind of work.</source>
        <translation>Aquí nadie puede juzgar este tipo de trabajo.</translation>
    </message>
    <message>
        <source>Clears your bar — ready to ship.</source>
        <translation>Alcanza su nivel de exigencia: listo para entregar.</translation>
    </message>
    <message>
        <source>Held below your bar. No itemised flaws returned.</source>
        <translation>Por debajo de su nivel de exigencia. No se indicaron defectos concretos.</translation>
    </message>
    <message>
        <source>Verdict: %1.</source>
        <translation>Veredicto: %1.</translation>
    </message>
    <message>
        <source>No verdict.</source>
        <translation>Sin veredicto.</translation>
    </message>
    <message numerus="yes">
        <source>%n flaw.</source>
        <comment>%n flaws.</comment>
        <translation>
            <numerusform>%n defecto.</numerusform>
            <numerusform>%n defectos.</numerusform>
        </translation>
    </message>
    <message>
        <source>Grading… the critic may be warming up</source>
        <translation>Evaluando… puede que el crítico se esté iniciando</translation>
    </message>
    <message>
        <source>Nobody says which window is in front.</source>
        <translation>Nada indica qué ventana está en primer plano.</translation>
    </message>
    <message>
        <source>Grade this</source>
        <translation>Evaluar</translation>
    </message>
    <message>
        <source>Iterate</source>
        <translation>Reevaluar</translation>
    </message>
    <message>
        <source>Get a free key to start grading →</source>
        <translation>Obtener una clave gratuita para empezar →</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Cancel the grade</source>
        <translation>Cancelar la evaluación</translation>
    </message>
    <message>
        <source>AGENTS</source>
        <translation>AGENTES</translation>
    </message>
    <message>
        <source>No coding agents detected yet</source>
        <translation>Aún no se ha detectado ningún agente de programación</translation>
    </message>
    <message>
        <source>WORKFLOW</source>
        <translation>FLUJO DE TRABAJO</translation>
    </message>
    <message>
        <source>multi-modal</source>
        <translation>multimodal</translation>
    </message>
    <message>
        <source>Wire my tools</source>
        <translation>Conectar mis herramientas</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Ajustes</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>y %1 más</translation>
    </message>
    <message numerus="yes">
        <source>%n flaw</source>
        <comment>%n flaws</comment>
        <translation>
            <numerusform>%n defecto</numerusform>
            <numerusform>%n defectos</numerusform>
        </translation>
    </message>
    <message>
        <source>+%1 more in the full report</source>
        <translation>+%1 más en el informe completo</translation>
    </message>
</context>
<context>
    <name>Preview</name>
    <message>
        <source>PREVIEW</source>
        <translation>VISTA PREVIA</translation>
    </message>
    <message>
        <source>This goes to %1</source>
        <translation>Esto se envía a %1</translation>
    </message>
    <message>
        <source>This stays on this machine</source>
        <translation>Esto se queda en este equipo</translation>
    </message>
    <message>
        <source>A picture of a window of %1, %2</source>
        <translation>Una imagen de una ventana de %1, %2</translation>
    </message>
    <message>
        <source>The text selected in %1, %2</source>
        <translation>El texto seleccionado en %1, %2</translation>
    </message>
    <message>
        <source>The picture that is sent</source>
        <translation>La imagen que se envía</translation>
    </message>
    <message>
        <source>The text that is sent</source>
        <translation>El texto que se envía</translation>
    </message>
    <message>
        <source>Don&apos;t ask again for %1</source>
        <translation>No volver a preguntar para %1</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>Enviar</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>%1 kB</source>
        <translation>%1 kB</translation>
    </message>
    <message numerus="yes">
        <source>%n character</source>
        <comment>%n characters</comment>
        <translation>
            <numerusform>%n carácter</numerusform>
            <numerusform>%n caracteres</numerusform>
        </translation>
    </message>
    <message>
        <source>What comes after the first %1 characters is left out: more is not judged at once.</source>
        <translation>Lo que sigue a los primeros %1 caracteres se omite: no se juzga más de una vez.</translation>
    </message>
    <message>
        <source>Sent with it: the application&apos;s name, what kind of work it is (%1) and %2 as its name.</source>
        <translation>Se envían también el nombre de la aplicación, el tipo de trabajo (%1) y %2 como nombre.</translation>
    </message>
    <message>
        <source>Nothing of other windows is in the picture.</source>
        <translation>La imagen no contiene nada de otras ventanas.</translation>
    </message>
    <message>
        <source>Nothing of the document but this text is sent.</source>
        <translation>Del documento no se envía nada más que este texto.</translation>
    </message>
    <message>
        <source>“%1”</source>
        <translation>«%1»</translation>
    </message>
</context>
<context>
    <name>RemovableRow</name>
    <message>
        <source>Remove</source>
        <translation>Quitar</translation>
    </message>
    <message>
        <source>Remove %1</source>
        <translation>Quitar %1</translation>
    </message>
</context>
<context>
    <name>Sentence</name>
    <message>
        <source>Couldn&apos;t capture anything to grade.</source>
        <translation>No se pudo capturar nada para evaluar.</translation>
    </message>
    <message>
        <source>Nothing was sent.</source>
        <translation>No se ha enviado nada.</translation>
    </message>
    <message>
        <source>Grade cancelled.</source>
        <translation>Evaluación cancelada.</translation>
    </message>
    <message>
        <source>No saved file that was opened lately holds this text.</source>
        <translation>Ningún archivo guardado y abierto recientemente contiene este texto.</translation>
    </message>
    <message>
        <source>Does not count any more.</source>
        <translation>Ya no cuenta.</translation>
    </message>
    <message>
        <source>“%1” is in your dictionary.</source>
        <translation>«%1» está en su diccionario.</translation>
    </message>
    <message>
        <source>Taken back.</source>
        <translation>Deshecho.</translation>
    </message>
    <message>
        <source>Copied.</source>
        <translation>Copiado.</translation>
    </message>
    <message>
        <source>Could not be said: %1</source>
        <translation>No se pudo comunicar: %1</translation>
    </message>
    <message numerus="yes">
        <source>Paused for %n more minute.</source>
        <comment>Paused for %n more minutes.</comment>
        <translation>
            <numerusform>En pausa durante %n minuto más.</numerusform>
            <numerusform>En pausa durante %n minutos más.</numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing is captured from %1: it keeps passwords.</source>
        <translation>No se captura nada de %1: guarda contraseñas.</translation>
    </message>
    <message>
        <source>Nothing is captured from %1, as you set it.</source>
        <translation>No se captura nada de %1, según sus ajustes.</translation>
    </message>
    <message>
        <source>No text selection found — graded a screenshot of %1&apos;s window. Select text first for a text grade.</source>
        <translation>No hay texto seleccionado: se evaluó una captura de la ventana de %1. Seleccione antes texto para evaluarlo.</translation>
    </message>
    <message>
        <source>Grant Accessibility (System Settings ▸ Privacy) to grade your text selection; graded a window screenshot for now.</source>
        <translation>Conceda el permiso de Accesibilidad (Ajustes del Sistema ▸ Privacidad) para evaluar el texto seleccionado; por ahora se evaluó una captura de la ventana.</translation>
    </message>
    <message>
        <source>%1 isn&apos;t running anymore — open it and press Grade.</source>
        <translation>%1 ya no está en ejecución: ábralo y pulse «Evaluar».</translation>
    </message>
    <message>
        <source>Graded a frame of %1. For the full render, export the file and run `brask grade &lt;file&gt;`.</source>
        <translation>Se evaluó un fotograma de %1. Para el resultado completo, exporte el archivo y ejecute `brask grade &lt;file&gt;`.</translation>
    </message>
    <message>
        <source>Couldn&apos;t capture %1&apos;s window — grant Screen Recording in System Settings ▸ Privacy, and make sure the window is open on screen.</source>
        <translation>No se pudo capturar la ventana de %1: conceda el permiso de Grabación de pantalla en Ajustes del Sistema ▸ Privacidad y compruebe que la ventana esté abierta en pantalla.</translation>
    </message>
    <message>
        <source>the grade was cancelled</source>
        <translation>la evaluación se canceló</translation>
    </message>
    <message>
        <source>could not reach the eval API</source>
        <translation>no se pudo contactar con el servicio de evaluación</translation>
    </message>
    <message>
        <source>the service key holds a line break — check BRASK_API_KEY or ~/.brask/key</source>
        <translation>la clave del servicio contiene un salto de línea: compruebe BRASK_API_KEY o ~/.brask/key</translation>
    </message>
    <message>
        <source>The service answers, but not in a way that can be read.</source>
        <translation>El servicio responde, pero su respuesta no se puede leer.</translation>
    </message>
    <message>
        <source>nothing was sent: %1 is not encrypted and was not allowed — see ~/.brask/plain-http</source>
        <translation>no se envió nada: %1 no está cifrado y no se permitió; véase ~/.brask/plain-http</translation>
    </message>
    <message>
        <source>not authorized — check your Trevix key (HTTP %1)</source>
        <translation>no autorizado: compruebe su clave de Trevix (HTTP %1)</translation>
    </message>
    <message>
        <source>eval API error (HTTP %1)</source>
        <translation>error del servicio de evaluación (HTTP %1)</translation>
    </message>
    <message>
        <source>grade timed out after %1s</source>
        <translation>la evaluación superó el tiempo límite de %1 s</translation>
    </message>
    <message>
        <source>grade failed</source>
        <translation>la evaluación falló</translation>
    </message>
    <message>
        <source>grade cancelled</source>
        <translation>evaluación cancelada</translation>
    </message>
    <message>
        <source>no job_id in response</source>
        <translation>la respuesta no contiene job_id</translation>
    </message>
    <message>
        <source>the service refused</source>
        <translation>el servicio lo rechazó</translation>
    </message>
    <message>
        <source>there is no key in %1</source>
        <translation>no hay ninguna clave en %1</translation>
    </message>
    <message>
        <source>%1: others may read or write it; the key in it is not used (make it yours, chmod 600)</source>
        <translation>%1: otros pueden leerlo o escribirlo; la clave que contiene no se usa (hágalo suyo, chmod 600)</translation>
    </message>
    <message>
        <source>this machine</source>
        <translation>este equipo</translation>
    </message>
    <message>
        <source>%1 To read every program and to photograph a window, turn on its Shell extension, then log in again.</source>
        <translation>%1 Para leer todos los programas y fotografiar una ventana, active su extensión de Shell y vuelva a iniciar sesión.</translation>
    </message>
    <message>
        <source>No desktop answers here: start Kelvane from inside your session.</source>
        <translation>Aquí no responde ningún escritorio: inicie Kelvane desde su sesión.</translation>
    </message>
    <message>
        <source>GNOME shows Kelvane the windows of X11 programs only.</source>
        <translation>GNOME muestra a Kelvane solo las ventanas de los programas X11.</translation>
    </message>
    <message>
        <source>This desktop shows Kelvane the windows of X11 programs only. Log in to an X11 session to have the others graded.</source>
        <translation>Este escritorio muestra a Kelvane solo las ventanas de los programas X11. Inicie una sesión X11 para evaluar los demás.</translation>
    </message>
    <message>
        <source>On GNOME Kelvane reads text from GTK, Qt and Firefox windows.</source>
        <translation>En GNOME, Kelvane lee el texto de las ventanas de GTK, Qt y Firefox.</translation>
    </message>
    <message>
        <source>This desktop tells Kelvane only of programs that speak to assistive technology: select text in a GTK, Qt or Firefox window.</source>
        <translation>Este escritorio informa a Kelvane solo de los programas que hablan con tecnologías de asistencia: seleccione texto en una ventana de GTK, Qt o Firefox.</translation>
    </message>
    <message>
        <source>This desktop lets no program read a selection or photograph a window.</source>
        <translation>Este escritorio no permite a ningún programa leer una selección ni fotografiar una ventana.</translation>
    </message>
    <message>
        <source>KWin lets only an installed Kelvane photograph windows: install the package, or select text.</source>
        <translation>KWin solo permite fotografiar ventanas a un Kelvane instalado: instale el paquete o seleccione texto.</translation>
    </message>
    <message>
        <source>This desktop does not tell where windows are, so none can be photographed: select text.</source>
        <translation>Este escritorio no indica dónde están las ventanas, así que no se puede fotografiar ninguna: seleccione texto.</translation>
    </message>
    <message>
        <source>This desktop lets no program read a selection: a picture of the window is graded.</source>
        <translation>Este escritorio no permite a ningún programa leer una selección: se evalúa una imagen de la ventana.</translation>
    </message>
    <message>
        <source>On GNOME a window can be photographed once Kelvane&apos;s Shell extension is on; selected text can be graded without.</source>
        <translation>En GNOME se puede fotografiar una ventana en cuanto se activa la extensión de Shell de Kelvane; el texto seleccionado se puede evaluar sin ella.</translation>
    </message>
    <message>
        <source>On this desktop no program may photograph a window: select text instead.</source>
        <translation>En este escritorio ningún programa puede fotografiar una ventana: seleccione texto en su lugar.</translation>
    </message>
    <message>
        <source>On Linux no permission is needed: the window has to be on this workspace, not minimised, and its program has to answer.</source>
        <translation>En Linux no hace falta ningún permiso: la ventana debe estar en este espacio de trabajo, sin minimizar, y su programa debe responder.</translation>
    </message>
    <message>
        <source>This keyboard has no key “%1”.</source>
        <translation>Este teclado no tiene la tecla «%1».</translation>
    </message>
    <message>
        <source>The display does not answer.</source>
        <translation>La pantalla no responde.</translation>
    </message>
    <message>
        <source>Another program has these keys already, or the desktop itself.</source>
        <translation>Otro programa, o el propio escritorio, ya usa estas teclas.</translation>
    </message>
    <message>
        <source>The system gives no more files.</source>
        <translation>El sistema no concede más archivos.</translation>
    </message>
    <message>
        <source>Here no program can have keys of its own: give “kelvane --grade” a shortcut in the desktop&apos;s settings.</source>
        <translation>Aquí ningún programa puede tener teclas propias: asigne un atajo a «kelvane --grade» en los ajustes del escritorio.</translation>
    </message>
    <message>
        <source>The desktop did not give these keys; its own settings of shortcuts may.</source>
        <translation>El escritorio no ha concedido estas teclas; quizá sea posible en sus propios ajustes de atajos.</translation>
    </message>
    <message>
        <source>The desktop has taken these keys back; its own settings of shortcuts may give them again.</source>
        <translation>El escritorio ha retirado estas teclas; quizá puedan asignarse de nuevo en sus propios ajustes de atajos.</translation>
    </message>
</context>
<context>
    <name>Settings</name>
    <message>
        <source>is “elsewhere”, “always” or “never”</source>
        <translation>debe ser «elsewhere», «always» o «never»</translation>
    </message>
    <message>
        <source>is an object with “always” or “never” for each application</source>
        <translation>debe ser un objeto con «always» o «never» para cada aplicación</translation>
    </message>
    <message>
        <source>%1; “%2” has neither</source>
        <translation>%1; «%2» no tiene ninguno de los dos</translation>
    </message>
    <message>
        <source>is a list of identifiers of applications</source>
        <translation>debe ser una lista de identificadores de aplicaciones</translation>
    </message>
    <message>
        <source>is a list of texts</source>
        <translation>debe ser una lista de textos</translation>
    </message>
    <message>
        <source>has “%1”: %2</source>
        <translation>contiene «%1»: %2</translation>
    </message>
    <message>
        <source>is true or false</source>
        <translation>debe ser true o false</translation>
    </message>
    <message>
        <source>is a text such as “Ctrl+Alt+G”, or an empty one</source>
        <translation>debe ser un texto como «Ctrl+Alt+G», o uno vacío</translation>
    </message>
    <message>
        <source>is no combination of keys: %1</source>
        <translation>no es una combinación de teclas: %1</translation>
    </message>
    <message>
        <source>is %1, or empty for the desktop&apos;s</source>
        <translation>debe ser %1, o vacío para el del escritorio</translation>
    </message>
    <message>
        <source>an identifier is not empty</source>
        <translation>un identificador no está vacío</translation>
    </message>
    <message>
        <source>no identifier is that long</source>
        <translation>ningún identificador es tan largo</translation>
    </message>
    <message>
        <source>“*” stands at the end alone</source>
        <translation>«*» solo puede ir al final</translation>
    </message>
    <message>
        <source>at least three characters stand before “*”</source>
        <translation>antes de «*» hay al menos tres caracteres</translation>
    </message>
    <message>
        <source>longer than any settings are</source>
        <translation>más largo de lo que pueden ser unos ajustes</translation>
    </message>
    <message>
        <source>not JSON from here on; nothing of the file is used</source>
        <translation>desde aquí no es JSON; no se usa nada del archivo</translation>
    </message>
    <message>
        <source>not an object of JSON</source>
        <translation>no es un objeto JSON</translation>
    </message>
    <message>
        <source>“%1” %2</source>
        <translation>«%1» %2</translation>
    </message>
    <message>
        <source>stands there twice; the last one counts</source>
        <translation>aparece dos veces; cuenta la última</translation>
    </message>
    <message>
        <source>is no setting of this version; it stays as it is</source>
        <translation>no es un ajuste de esta versión; se deja como está</translation>
    </message>
    <message>
        <source>somebody else could have written it; nothing of it is used (make it yours, chmod 600)</source>
        <translation>otra persona pudo haberlo escrito; no se usa nada de él (hágalo suyo, chmod 600)</translation>
    </message>
    <message>
        <source>cannot be read</source>
        <translation>no se puede leer</translation>
    </message>
    <message>
        <source>Mend it, or delete it.</source>
        <translation>Corrija el archivo o elimínelo.</translation>
    </message>
    <message>
        <source>%1 could not be written.</source>
        <translation>No se pudo escribir %1.</translation>
    </message>
    <message>
        <source>“%1” is none of Ctrl, Alt, Shift and Super.</source>
        <translation>«%1» no es Ctrl, Alt, Shift ni Super.</translation>
    </message>
    <message>
        <source>“%1” stands there twice.</source>
        <translation>«%1» aparece dos veces.</translation>
    </message>
    <message>
        <source>The key is missing, as in Ctrl+Alt+G.</source>
        <translation>Falta la tecla, como en Ctrl+Alt+G.</translation>
    </message>
    <message>
        <source>There is no key “%1”.</source>
        <translation>No existe la tecla «%1».</translation>
    </message>
    <message>
        <source>A key that you type with needs Ctrl, Alt or Super beside it.</source>
        <translation>Una tecla con la que se escribe necesita además Ctrl, Alt o Super.</translation>
    </message>
    <message>
        <source>Work is graded by %1.</source>
        <translation>El trabajo se evalúa en %1.</translation>
    </message>
    <message>
        <source>When it leaves this machine</source>
        <translation>Cuando sale de este equipo</translation>
    </message>
    <message>
        <source>Always</source>
        <translation>Siempre</translation>
    </message>
    <message>
        <source>Never</source>
        <translation>Nunca</translation>
    </message>
    <message>
        <source>%1: always shown</source>
        <translation>%1: se muestra siempre</translation>
    </message>
    <message>
        <source>%1: sent without asking</source>
        <translation>%1: se envía sin preguntar</translation>
    </message>
    <message>
        <source>Never capture %1</source>
        <translation>No capturar nunca %1</translation>
    </message>
    <message>
        <source>As the desktop</source>
        <translation>Como el escritorio</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>Settings</source>
        <translation>Ajustes</translation>
    </message>
    <message>
        <source>WHERE TO GRADE</source>
        <translation>DÓNDE EVALUAR</translation>
    </message>
    <message>
        <source>Choose where to grade…</source>
        <translation>Elegir dónde evaluar…</translation>
    </message>
    <message>
        <source>SHOW WORK BEFORE IT IS SENT</source>
        <translation>MOSTRAR EL TRABAJO ANTES DE ENVIARLO</translation>
    </message>
    <message>
        <source>NEVER CAPTURE</source>
        <translation>NO CAPTURAR NUNCA</translation>
    </message>
    <message>
        <source>Password managers</source>
        <translation>Gestores de contraseñas</translation>
    </message>
    <message>
        <source>Identifier of an application that is never captured</source>
        <translation>Identificador de una aplicación que no se captura nunca</translation>
    </message>
    <message>
        <source>As org.example.diary or com.example.*</source>
        <translation>Como org.example.diary o com.example.*</translation>
    </message>
    <message>
        <source>KEYS THAT GRADE WHAT IS IN FRONT</source>
        <translation>TECLAS PARA EVALUAR</translation>
    </message>
    <message>
        <source>Keys that grade what is in front</source>
        <translation>Teclas que evalúan lo que está en primer plano</translation>
    </message>
    <message>
        <source>None. As Ctrl+Alt+G, then Return</source>
        <translation>Ninguna. Por ejemplo Ctrl+Alt+G y después Intro</translation>
    </message>
    <message>
        <source>LANGUAGE</source>
        <translation>IDIOMA</translation>
    </message>
    <message>
        <source>CODING TOOLS</source>
        <translation>HERRAMIENTAS DE PROGRAMACIÓN</translation>
    </message>
    <message>
        <source>Wire my tools</source>
        <translation>Conectar mis herramientas</translation>
    </message>
    <message>
        <source>NOTIFICATIONS</source>
        <translation>NOTIFICACIONES</translation>
    </message>
    <message>
        <source>Verdicts that come while the panel is closed</source>
        <translation>Veredictos que llegan con el panel cerrado</translation>
    </message>
</context>
<context>
    <name>Shortcut</name>
    <message>
        <source>Grade what is in front</source>
        <translation>Evaluar lo que está en primer plano</translation>
    </message>
</context>
<context>
    <name>VerdictSection</name>
    <message>
        <source>Show all flaws</source>
        <translation>Mostrar todos los defectos</translation>
    </message>
</context>
<context>
    <name>Window</name>
    <message>
        <source>History of verdicts</source>
        <translation>Historial de veredictos</translation>
    </message>
    <message>
        <source>Kelvane Settings</source>
        <translation>Ajustes de Kelvane</translation>
    </message>
</context>
</TS>
