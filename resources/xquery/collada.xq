xquery version "1.0";

(: Rewrites a COLLADA document into the flat document that the scene receivers read:

     <scene> up_axis*  cameras  geometries  lights  materials  nodes </scene>

   Input elements are matched by local name in any namespace, attributes without one. Constructed elements are
   in no namespace; copied elements keep theirs. Where several elements give one text, a single space joins
   their texts.

   What looks roundabout here avoids a trap of the query engine:
   - "anywhere below" is a recursion over child steps: the descendant axis runs into the next sibling after an
     empty last element, and may stop silently from level 127 on. Child steps are exact down to level 256, the
     document element being level 1; deeper input must be refused before it gets here;
   - a value needed more than once is bound by a "for" over one item, with a predicate where the engine would
     see that there is exactly one and turn it into a "let": "let" bindings, global variables and sequences
     passed as arguments are computed again at every use;
   - "order by" stands after a single "for": after several it sorts each run of the last one by itself;
   - texts are joined by string-join: a sequence of values is delivered without blanks between them;
   - references into a library are looked up in a search tree made of constructed elements: a predicate walks
     the whole library for every reference, and fn:id() misses ids in large files without saying so. :)

declare variable $xmlData external;

(: Whether it is known that local:isFlat holds for all geometries; otherwise it is asked. Where the loader knows,
   it writes true() here. :)
declare variable $areGeometriesFlat as xs:boolean := false();

(: The input. Global variables are only ever short paths, since each use walks them again. :)
declare variable $collada := doc($xmlData)/*:COLLADA;
declare variable $firstVisualScene := ($collada/*:library_visual_scenes/*:visual_scene)[1];


(: ---- Searching below an element ------------------------------------------------------------------------ :)

(: All elements of that local name anywhere below, in document order. Elements without child elements are not
   entered, because a call costs more than the test. :)
declare function local:below($top as element(), $name as xs:string) as element()*
{
    for $child in $top/*
    return (
        if (local-name($child) eq $name) then $child else (),
        if ($child/*) then local:below($child, $name) else ()
    )
};

(: The texts of all elements of that local name below. :)
declare function local:textBelow($top as element(), $name as xs:string) as xs:string
{
    string-join(for $element in local:below($top, $name) return string($element), " ")
};

(: One element called $as for each $name below; every one of them holds the texts of all. :)
declare function local:renamed($top as element(), $name as xs:string, $as as xs:string) as element()*
{
    for $element in local:below($top, $name)
    return element { $as } { local:textBelow($top, local-name($element)) }
};


(: ---- Look-up by key ------------------------------------------------------------------------------------ :)

(: A search tree is made from a list of <entry key=""> siblings in key order: branches of at most eight
   entries or branches each, which carry the key of their first entry and, where the list goes on, that of the
   entry after them. Looking up costs a few steps, not a walk over the list. Along the list only the step to
   the next sibling is cheap: any other position looks at all the rest; and one recursion over a long way
   would exhaust the stack.

   Functions that construct what goes into the tree declare no result type: checking the type would build
   every branch once more at each level. :)

(: The entry $distance places after $entry; $distance is a power of eight. :)
declare function local:after($entry as element(), $distance as xs:integer) as element()?
{
    if ($distance eq 1) then $entry/following-sibling::*[1]
    else local:hops($entry, $distance idiv 8, 8)
};

(: The entry $count times $distance places after $entry. :)
declare function local:hops($entry as element(), $distance as xs:integer, $count as xs:integer) as element()?
{
    if ($count eq 0) then $entry
    else for $next in local:after($entry, $distance) return local:hops($next, $distance, $count - 1)
};

(: $entry and the entries after it, $count at most. :)
declare function local:run($entry as element(), $count as xs:integer)
{
    (
        $entry,
        if ($count eq 1) then ()
        else for $next in $entry/following-sibling::*[1] return local:run($next, $count - 1)
    )
};

(: From $entry on, at most $count branches side by side, each over $span entries, a power of eight. Where no
   entry follows a branch, $entry itself stands for the next one. :)
declare function local:branches($entry as element(), $span as xs:integer, $count as xs:integer)
{
    for $next in (local:after($entry, $span), $entry)[1]
    return (
        <branch from="{ $entry/@key }">{
            if ($next is $entry) then () else attribute to { $next/@key },
            if ($span eq 8) then local:run($entry, 8)
            else local:branches($entry, $span idiv 8, 8)
        }</branch>,
        if ($count eq 1 or $next is $entry) then ()
        else local:branches($next, $span, $count - 1)
    )
};

(: The smallest power of eight, $span or above, that is not below $count. :)
declare function local:span($count as xs:integer, $span as xs:integer) as xs:integer
{
    if ($span ge $count) then $span else local:span($count, $span * 8)
};

declare function local:searchTree($sorted as element()) as element()
{
    <tree>{
        for $first in $sorted/*[1]
        return local:branches($first, local:span(count($sorted/*), 8), 1)
    }</tree>
};

(: All entries of that key, in the order of the list. :)
declare function local:find($tree as element(), $key as xs:string) as element()*
{
    for $part in $tree/*
    return
        if ($part/self::entry) then $part[@key eq $key]
        else if ($part/@from le $key and not($part/@to lt $key)) then local:find($part, $key)
        else ()
};


(: ---- Targets of cameras and lights --------------------------------------------------------------------- :)

(: The texts of the target elements of all lights, a line each. :)
declare function local:targetLines() as xs:string*
{
    string-join((
        "",
        for $light in $collada/*:library_lights/*:light
        for $target in local:below($light, "target")
        return string($target),
        ""), "&#10;")
};

(: What a camera or a light can aim at: the nodes of the first visual scene, under their name and under "#"
   and their id, as far as they can be asked for. An entry holds a copy of the node's id; the number puts
   nodes found under several ids into document order. :)
declare function local:targetEntries()
{
    for $lines in local:targetLines()[. ne ""]
    for $scene in $firstVisualScene
    for $node at $number in local:below($scene, "node")
    return (
        if (ends-with($node/@name, ".Target") or ends-with($node/@name, ".target"))
        then <entry key="name { $node/@name }">{ $node/@id }</entry>
        else (),
        if ($node/@id and contains($lines, concat("&#10;#", $node/@id, "&#10;")))
        then <entry key="url #{ $node/@id }" number="{ $number }">{ $node/@id }</entry>
        else ()
    )
};

(: They are constructed into one list and then sorted: sorting constructed elements by themselves keeps a
   document for each of them. :)
declare function local:targetTree() as element()
{
    for $entries in <list>{ local:targetEntries() }</list>
    for $sorted in <list>{ for $entry in $entries/* stable order by string($entry/@key) return $entry }</list>
    return local:searchTree($sorted)
};

(: One target element for each node of that name; none for a thing without a name. :)
declare function local:targetsNamed($targets as element(), $name as attribute()?, $suffix as xs:string)
{
    if ($name)
    then
        for $entry in local:find($targets, concat("name ", $name, $suffix))
        return <target>{ $entry/@id }</target>
    else ()
};


(: ---- cameras ------------------------------------------------------------------------------------------- :)

(: The id, the perspective parameters as they stand, the targets by name. :)
declare function local:camera($camera as element(), $targets as element())
{
    <camera>{
        $camera/@id,
        local:below($camera, "perspective")/*,
        local:targetsNamed($targets, $camera/@name, ".Target")
    }</camera>
};


(: ---- geometries ---------------------------------------------------------------------------------------- :)

(: A line for each input that feeds a list, the name of the list and the reference, and a line for each
   polygons element. :)
declare function local:contentLines($top as element()) as xs:string*
{
    for $child in $top/*
    return (
        if ($child/self::*:input) then
            if ($child/@semantic eq "NORMAL") then concat("normals", $child/@source)
            else if ($child/@semantic eq "TEXCOORD") then concat("texcoords", $child/@source)
            else if ($child/@semantic eq "POSITION" and $top/self::*:vertices)
            then concat("vertices", $child/@source)
            else ()
        else if ($child/self::*:polygons) then "polygons"
        else (),
        if ($child/*) then local:contentLines($child) else ()
    )
};

(: These lines as one text: a constructed element for each geometry would cost more than all the rest. :)
declare function local:contents($geometry as element()) as xs:string*
{
    string-join(("", local:contentLines($geometry), ""), "&#10;")
};

(: The float_array elements below the sources that $contents gives for that list. Only what has elements two
   levels down can hold a source with an array in it. :)
declare function local:floatArrays($top as element(), $list as xs:string,
    $contents as xs:string) as element()*
{
    for $child in $top/*
    return
        if ($child/self::*:source[@id and contains($contents, concat("&#10;", $list, "#", @id, "&#10;"))])
        then local:below($child, "float_array")
        else if ($child/*/*) then local:floatArrays($child, $list, $contents)
        else ()
};

declare function local:numbers($geometry as element(), $list as xs:string,
    $contents as xs:string) as xs:string
{
    string-join(for $array in local:floatArrays($geometry, $list, $contents) return string($array), " ")
};

(: A triangles or polygons element: how many inputs it has, its material, all its index lists as one text.

   Quirk(stride-counts-inputs): inputs that share an offset count one by one, so their lists are misread;
   kept, the format asks for an offset of its own for every input.
   Quirk(polygons-as-triangles): the lists of all polygons run together, whatever their numbers of corners;
   kept, the format asks for polygons that are triangles. :)
declare function local:primitive($primitive as element(), $indices as xs:string)
{
    <triangles stride="{ count($primitive/*:input) }">{ $primitive/@material, $indices }</triangles>
};

(: The id, the three number lists, the primitives: triangles before polygons. What the geometry refers to is
   found out once, so that the inputs are not searched for again at each source. :)
declare function local:deepGeometry($geometry as element())
{
    for $contents in local:contents($geometry)[. ne ""]
    return
        <geometry>{
            $geometry/@id,
            <vertices>{ local:numbers($geometry, "vertices", $contents) }</vertices>,
            <normals>{ local:numbers($geometry, "normals", $contents) }</normals>,
            <texcoords>{ local:numbers($geometry, "texcoords", $contents) }</texcoords>,
            for $primitive in local:below($geometry, "triangles")
            return local:primitive($primitive, local:textBelow($primitive, "p")),
            if (contains($contents, "&#10;polygons&#10;"))
            then for $primitive in local:below($geometry, "polygons")
                 return local:primitive($primitive, local:textBelow($primitive, "p"))
            else ()
        }</geometry>
};

(: Whether everything that counts stands where programs put it: sources and primitives below a child of the
   geometry, arrays, inputs and index lists right below those. The descendant axis serves for counting here: one
   element too many only makes the numbers differ, and none is deep enough to be passed over. :)
declare function local:isFlat($geometry as element()) as xs:boolean
{
    not($geometry/*/*/*/*/*/*) and
    not($geometry/*/(*:triangles | *:polygons)/*/*) and
    count($geometry/descendant::*:source) eq count($geometry/*/*:source) and
    count($geometry/descendant::*:float_array) eq count($geometry/*/*:source/*:float_array) and
    count($geometry/descendant::*:input) eq count($geometry/*/*/*:input) and
    count($geometry/descendant::*:triangles) eq count($geometry/*/*:triangles) and
    count($geometry/descendant::*:polygons) eq count($geometry/*/*:polygons)
};

(: For a flat geometry, what local:contents gives but for the order and the polygons. :)
declare function local:flatContents($geometry as element()) as xs:string*
{
    string-join((
        "",
        for $input in $geometry/*/*:vertices/*:input[@semantic eq "POSITION"]
        return concat("vertices", $input/@source),
        for $input in $geometry/*/*/*:input[@semantic eq "NORMAL"]
        return concat("normals", $input/@source),
        for $input in $geometry/*/*/*:input[@semantic eq "TEXCOORD"]
        return concat("texcoords", $input/@source),
        ""), "&#10;")
};

declare function local:flatNumbers($geometry as element(), $list as xs:string,
    $contents as xs:string) as xs:string
{
    string-join(
        for $array in
            $geometry/*/*:source[@id and contains($contents, concat("&#10;", $list, "#", @id, "&#10;"))]
            /*:float_array
        return string($array), " ")
};

declare function local:flatPrimitive($primitive as element())
{
    local:primitive($primitive, string-join(for $p in $primitive/*:p return string($p), " "))
};

(: What local:deepGeometry gives for a flat geometry, by paths alone: a recursion costs ten times as much. :)
declare function local:flatGeometry($geometry as element())
{
    for $contents in local:flatContents($geometry)[. ne ""]
    return
        <geometry>{
            $geometry/@id,
            <vertices>{ local:flatNumbers($geometry, "vertices", $contents) }</vertices>,
            <normals>{ local:flatNumbers($geometry, "normals", $contents) }</normals>,
            <texcoords>{ local:flatNumbers($geometry, "texcoords", $contents) }</texcoords>,
            for $primitive in $geometry/*/*:triangles return local:flatPrimitive($primitive),
            for $primitive in $geometry/*/*:polygons return local:flatPrimitive($primitive)
        }</geometry>
};

declare function local:geometry($geometry as element())
{
    if ($areGeometriesFlat or local:isFlat($geometry))
    then local:flatGeometry($geometry)
    else local:deepGeometry($geometry)
};


(: ---- lights -------------------------------------------------------------------------------------------- :)

(: The lights that have that kind of element anywhere below. :)
declare function local:lights($kind as xs:string) as element()*
{
    for $light in $collada/*:library_lights/*:light
    return if (local:below($light, $kind)) then $light else ()
};

(: The texts of the type children of all shadow_attributes; empty when there is none. :)
declare function local:shadow($light as element())
{
    <shadow>{
        string-join(for $type in local:below($light, "shadow_attributes")/*:type return string($type), " ")
    }</shadow>
};

(: id, colours, a multiplier of 1, and another multiplier for each intensity. :)
declare function local:ambientLight($light as element())
{
    <ambient>{
        $light/@id,
        local:below($light, "color"),
        <multiplier>1</multiplier>,
        local:renamed($light, "intensity", "multiplier")
    }</ambient>
};

(: id, colours, multipliers, shadow. :)
declare function local:pointLight($light as element())
{
    <point>{
        $light/@id,
        local:below($light, "color"),
        local:below($light, "multiplier"),
        local:renamed($light, "intensity", "multiplier"),
        local:shadow($light)
    }</point>
};

(: What spot and directional lights have in common: as a point light, with the two cone angles. A
   falloff_angle becomes a hotspot_beam and an outer_cone a falloff.

   Quirk(falloff-angle-is-hotspot): the angle at which light ends is taken for that at which it begins to fade;
   kept, scenes are exported with it in mind, and outer_cone carries the other. :)
declare function local:beam($light as element())
{
    (
        $light/@id,
        local:below($light, "color"),
        local:below($light, "multiplier"),
        local:renamed($light, "intensity", "multiplier"),
        local:below($light, "falloff"),
        local:renamed($light, "outer_cone", "falloff"),
        local:below($light, "hotspot_beam"),
        local:renamed($light, "falloff_angle", "hotspot_beam"),
        local:shadow($light)
    )
};

(: A beam, the targets by name in both spellings, the targets by url. :)
declare function local:spotLight($light as element(), $targets as element())
{
    <spot>{
        local:beam($light),
        local:targetsNamed($targets, $light/@name, ".Target"),
        local:targetsNamed($targets, $light/@name, ".target"),
        for $entry in (for $url in distinct-values(for $target in local:below($light, "target")
                                                   return string($target))
                       return local:find($targets, concat("url ", $url)))
        order by number($entry/@number)
        return <target>{ $entry/@id }</target>
    }</spot>
};

declare function local:directionalLight($light as element())
{
    <directional>{ local:beam($light) }</directional>
};


(: ---- materials ----------------------------------------------------------------------------------------- :)

(: The place of a block in the order of emission; empty for any other element. :)
declare function local:blockRank($element as element()) as xs:integer?
{
    index-of(("ambient", "diffuse", "specular", "shininess", "reflective", "transparent", "transparency",
              "spec_level"), local-name($element))
};

(: The blocks anywhere below, in document order. :)
declare function local:blocks($top as element()) as element()*
{
    for $child in $top/*
    return (
        if (local:blockRank($child)) then $child else (),
        if ($child/*) then local:blocks($child) else ()
    )
};

(: The effects under "#" and their id, with copies of their blocks. The effects are sorted before
   anything is constructed, for the reason given at the targets. :)
declare function local:effectTree() as element()
{
    for $sorted in
        <list>{
            for $effect in (for $any in $collada/*:library_effects/*:effect
                            stable order by string($any/@id)
                            return $any)
            return
                if ($effect/@id) then <entry key="#{ $effect/@id }">{ local:blocks($effect) }</entry> else ()
        }</list>
    return local:searchTree($sorted)
};

(: The blocks of the material's effects. That is one effect as a rule, looked up; for several the library is walked,
   since its order counts and not that of the instance_effect elements. :)
declare function local:effectBlocks($material as element(), $effects as element()) as element()*
{
    if (count(distinct-values($material/*:instance_effect/@url)) gt 1) then
        for $effect in $collada/*:library_effects/*:effect[@id]
        where concat("#", $effect/@id) = $material/*:instance_effect/@url
        return local:blocks($effect)
    else
        for $url in distinct-values($material/*:instance_effect/@url)
        for $entry in local:find($effects, $url)
        return $entry/*
};

(: The id and the blocks of the material's effects, group by group. :)
declare function local:material($material as element(), $effects as element())
{
    <material>{
        $material/@id,
        for $block in local:effectBlocks($material, $effects)
        stable order by local:blockRank($block)
        return $block
    }</material>
};


(: ---- nodes --------------------------------------------------------------------------------------------- :)

(: The materials bound in all geometry instances of a node.

   Quirk(materials-at-every-object): they are repeated under each object, lights and cameras included;
   kept, the receivers bind on the node, and binding twice changes nothing. :)
declare function local:boundMaterials($node as element())
{
    for $binding in $node/*:instance_geometry/*:bind_material
    for $material in local:below($binding, "instance_material")
    return <material id="{ substring($material/@target, 2) }">{ $material/@symbol }</material>
};

(: The id or a name in its place, the transforms, the objects, each with all bound materials of the node, and
   then the nodes inside. :)
declare function local:node($node as element())
{
    <node id="{ if ($node/@id) then $node/@id else concat("node-", $node/@name) }">{
        $node/(*:translate | *:rotate | *:scale | *:matrix),
        for $instance in $node/(*:instance_light | *:instance_camera | *:instance_geometry)
        return <object id="{ substring($instance/@url, 2) }">{ local:boundMaterials($node) }</object>,
        for $child in $node/*:node return local:node($child)
    }</node>
};


(: ---- The document -------------------------------------------------------------------------------------- :)

<scene>{
    $collada/*:asset/*:up_axis,

    for $targets in local:targetTree()
    return (
        <cameras>{
            for $camera in $collada/*:library_cameras/*:camera return local:camera($camera, $targets)
        }</cameras>,
        <geometries>{
            for $geometry in $collada/*:library_geometries/*:geometry return local:geometry($geometry)
        }</geometries>,
        <lights>{
            for $light in local:lights("ambient") return local:ambientLight($light),
            for $light in local:lights("point") return local:pointLight($light),
            for $light in local:lights("spot") return local:spotLight($light, $targets),
            for $light in local:lights("directional") return local:directionalLight($light)
        }</lights>
    ),

    <materials>{
        for $effects in local:effectTree()
        for $material in $collada/*:library_materials/*:material
        return local:material($material, $effects)
    }</materials>,

    <nodes>{
        for $element in $firstVisualScene/* return local:node($element)
    }</nodes>
}</scene>
